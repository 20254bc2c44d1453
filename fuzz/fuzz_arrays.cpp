// Matrices of bytes and of shorts that live together: made, cut, copied, assigned, attached, resized,
// converted, written and read in any order, beside a plain model of which elements each of them shows.
#include <fuzz/Views.h>

#include <tests/reference/Files.h>

#include <array>
#include <optional>
#include <variant>

namespace {

constexpr int longest = 6; // elements of a side

/// Elements that arrays share. Those that were never written may be anything.
template <class T> struct Pool {
    std::vector<std::optional<T>> values;
    std::shared_ptr<std::vector<T>> attached; ///< the caller's buffer
};

template <class T> struct Matrix {
    std::unique_ptr<MatOf<T>> real = std::make_unique<MatOf<T>>();
    std::shared_ptr<Pool<T>> pool; ///< none: an array without storage
    Place place;

    std::optional<T>& At(int x, int y) const { return pool->values[place.At(x, y, 0)]; }
    int W() const { return pool ? place.sizes[0] : 0; }
    int H() const { return pool ? place.sizes[1] : 0; }
    bool Covers(int w, int h) const { return W() >= w && H() >= h; }

    void Renew(int w, int h)
    {
        pool = std::make_shared<Pool<T>>();
        pool->values.resize(static_cast<std::size_t>(w) * static_cast<std::size_t>(h));
        LieDense(w, h);
    }
    void LieDense(int w, int h) { place = {0, {w, h, 1}, {1, w, w * h}}; }
};

using Bytes = Matrix<UBYTE>;
using Shorts = Matrix<short>;

struct World {
    std::array<Bytes, 4> bytes;
    std::array<Shorts, 4> shorts;
    template <class T> auto& All()
    {
        if constexpr (std::is_same_v<T, UBYTE>) return bytes;
        else return shorts;
    }
};

/// How many arrays show these elements.
template <class T> int Sharers(World& world, const Matrix<T>& m)
{
    int count = 0;
    for (const Matrix<T>& other : world.All<T>()) count += other.pool == m.pool;
    return count;
}

template <class T> void RequireModel(World& world)
{
    for (const Matrix<T>& m : world.All<T>()) {
        const MatOf<T>& real = *m.real;
        Require((real.pblock != nullptr) == (m.pool != nullptr),
                "an array has storage when it was given some");
        if (!m.pool) continue;
        Require(real.dim1 == m.W() && real.dim2 == m.H() && real.dim3 == 1, "an array has its size");
        Require(real.pblock->nrefs == Sharers(world, m), "storage knows how many arrays show it");
        bool same = true;
        for (int y = 0; y < m.H(); y++)
            for (int x = 0; x < m.W(); x++) same = same && (!m.At(x, y) || *m.At(x, y) == real(x, y));
        Require(same, "elements are those of the model");
    }
}

/// The values of a source over a shape, taken before any is written: views may overlap, and then the order
/// counts.
template <class T, class S, class F> void Assign(Matrix<T>& to, const Matrix<S>& from, int w, int h, F cast)
{
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) {
            const std::optional<S> value = from.At(x, y);
            to.At(x, y) = value ? std::optional<T>(cast(*value)) : std::nullopt;
        }
}

template <class T> void Attach(Matrix<T>& m, int w, int h, T value)
{
    auto pool = std::make_shared<Pool<T>>();
    pool->attached = std::make_shared<std::vector<T>>(static_cast<std::size_t>(w * h), value);
    pool->values.assign(pool->attached->size(), value);
    m.real->Attach_to_raw_image(pool->attached->data(), w, h);
    m.pool = pool;
    m.LieDense(w, h);
}

template <class T> void Detach(Matrix<T>& m)
{
    m.real->Detach_from_raw_image();
    m.pool.reset();
    m.place = {};
}

template <class T> constexpr const char* sharedMessage =
    std::is_same_v<T, UBYTE>
        ? "Resize_ubyte: Object cannot be resized, data are referenced by another object"
        : "Resize_short: Object cannot be resized, data are referenced by another object";

/// Whether the array takes that size, and what it then is.
template <class T> bool Resized(World& world, Matrix<T>& m, int w, int h, const Ending& ending)
{
    if (m.pool && m.W() == w && m.H() == h) return true;
    if (m.pool && Sharers(world, m) > 1) {
        Require(ending.HaltedWith(sharedMessage<T>), "shared storage keeps its size");
        return false;
    }
    if (m.pool && m.pool->values.size() == static_cast<std::size_t>(w * h) && !m.pool->attached)
        m.LieDense(w, h);
    else m.Renew(w, h);
    return true;
}

enum Step { make, fill, cut, share, assign, attach, detach, resize, convert, file, set, transpose, steps };

/// One step with arrays of T. \return false where the program would have come to its end
template <class T> bool Do(World& world, FuzzedDataProvider& input)
{
    using Other = std::conditional_t<std::is_same_v<T, UBYTE>, short, UBYTE>;
    auto& all = world.All<T>();
    Matrix<T>& a = all[input.ConsumeIntegralInRange<std::size_t>(0, all.size() - 1)];
    Matrix<T>& b = all[input.ConsumeIntegralInRange<std::size_t>(0, all.size() - 1)];
    const int step = input.ConsumeIntegralInRange(0, steps - 1);
    const int w = input.ConsumeIntegralInRange(1, longest), h = input.ConsumeIntegralInRange(1, longest);
    const T value = input.ConsumeIntegral<T>();
    const auto run = [](auto&& routine) {
        const Ending ending = RunToItsEnd(routine);
        Require(ending.returned || ending.halted, "a step returns or halts");
        return ending;
    };
    const auto replace = [&a](auto&&... arguments) {
        auto real = std::make_unique<MatOf<T>>(arguments...); // before the old one goes: it may be made of it
        a.real = std::move(real);
    };

    switch (step) {
    case make:
        replace(w, h);
        a.Renew(w, h);
        break;
    case fill:
        if (a.pool) a.real->Fill(value);
        for (int y = 0; y < a.H(); y++)
            for (int x = 0; x < a.W(); x++) a.At(x, y) = value;
        break;
    case cut: {
        if (!b.pool) return true;
        const int fromX = (w - 1) % b.W(), fromY = (h - 1) % b.H();
        const int countX = 1 + (value & 7) % (b.W() - fromX), countY = 1 + (value >> 3 & 7) % (b.H() - fromY);
        const RNG x(fromX, fromX + countX - 1), y(fromY, fromY + countY - 1);
        Matrix<T> part{std::make_unique<MatOf<T>>((*b.real)(x, y)), b.pool, b.place};
        part.place.origin = b.place.origin + fromX * b.place.steps[0] + fromY * b.place.steps[1];
        part.place.sizes[0] = countX;
        part.place.sizes[1] = countY;
        a = std::move(part);
        break;
    }
    case share:
        if (&a == &b) return true;
        replace(*b.real);
        a.pool = b.pool;
        a.place = b.place;
        break;
    case assign: {
        // A source that is smaller is the caller's affair, and so is one that overlaps otherwise than as a
        // whole.
        if (!b.pool || (a.pool && (!b.Covers(a.W(), a.H()) || (a.pool == b.pool && &a != &b)))) return true;
        *a.real = *b.real;
        if (!a.pool) a.Renew(b.W(), b.H());
        if (&a != &b) Assign(a, b, a.W(), a.H(), [](T v) { return v; });
        break;
    }
    case attach: {
        if (!a.pool) {
            Attach(a, w, h, value);
            break;
        }
        T data[1] = {value};
        const Ending ending = run([&] { a.real->Attach_to_raw_image(data, 1, 1); });
        Require(ending.HaltedWith("Error: Already attached to data"), "what has storage is not attached");
        return false;
    }
    case detach:
        if (a.pool && a.pool->attached) Detach(a);
        break;
    case resize: {
        if (a.pool && a.pool->attached) return true; // it would drop the caller's buffer
        const Ending ending = run([&] { a.real->Resize(w, h); });
        return Resized(world, a, w, h, ending) && ending.returned;
    }
    case convert: {
        auto& others = world.All<Other>();
        Matrix<Other>& from = others[static_cast<std::size_t>(w) % others.size()];
        if (!from.pool || (a.pool && !a.Covers(from.W(), from.H()))) return true;
        Convert(*from.real, *a.real);
        if (!a.pool) a.Renew(from.W(), from.H());
        Assign(a, from, from.W(), from.H(), [](Other v) { return static_cast<T>(v); });
        break;
    }
    case file: {
        // What is written reads back, but for odd widths of shorts; an attached array keeps its buffer.
        if (!b.pool || (a.pool && a.pool->attached) || (sizeof(T) == 2 && b.W() % 2 != 0)) return true;
        for (int y = 0; y < b.H(); y++)
            for (int x = 0; x < b.W(); x++)
                if (!b.At(x, y)) return true;
        if (a.real->pblock != nullptr && a.real->step1 != 1 && sizeof(T) == 1) return true; // not read into
        int written = -1, read = -1;
        const int width = b.W(), height = b.H();
        std::vector<T> values;
        for (int y = 0; y < height; y++)
            for (int x = 0; x < width; x++) values.push_back(*b.At(x, y));
        const Ending ending = run([&] {
            written = b.real->WriteBMP("picture.bmp");
            read = a.real->ReadBMP("picture.bmp");
        });
        Require(written == 0, "a picture is written");
        if (!Resized(world, a, width, height, ending)) return false;
        Require(ending.returned && read == 0, "and read");
        for (int y = 0; y < height; y++)
            for (int x = 0; x < width; x++) a.At(x, y) = values[static_cast<std::size_t>(y * width + x)];
        break;
    }
    case set:
        if (w <= a.W() && h <= a.H()) a.At(w - 1, h - 1) = (*a.real)(w - 1, h - 1) = value;
        break;
    case transpose:
        if constexpr (std::is_same_v<T, UBYTE>) {
            a.real->Trans();
            std::swap(a.place.sizes[0], a.place.sizes[1]);
            std::swap(a.place.steps[0], a.place.steps[1]);
        }
        break;
    }
    return true;
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    World world;
    while (input.remaining_bytes() > 0) {
        const bool goesOn = input.ConsumeBool() ? Do<UBYTE>(world, input) : Do<short>(world, input);
        if (!goesOn) return; // halted: a program sleeps from here on
        RequireModel<UBYTE>(world);
        RequireModel<short>(world);
    }
    for (const auto& m : world.bytes)
        if (m.pool && m.pool->attached)
            for (std::size_t i = 0; i < m.pool->values.size(); i++)
                Require(!m.pool->values[i] || (*m.pool->attached)[i] == *m.pool->values[i],
                        "the caller's buffer is written through");
}
