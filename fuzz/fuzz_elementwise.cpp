// The element-wise operators on any two views that lie inside their blocks, of one block too: strides, signs
// of strides, swapped dimensions and overlaps of every kind. The plain version is a loop over the storage in
// the order z, y, x, in which every element is read when its turn comes.
#include <fuzz/Views.h>

#include <tests/reference/Numbers.h>

#include <cstring>
#include <functional>
#include <optional>
#include <utility>

namespace {

template <class T>
void RequireEqual(const std::vector<T>& actual, const std::vector<T>& expected, const char* what)
{
    for (std::size_t i = 0; i < expected.size(); i++)
        Require(Same(actual[i], expected[i]), std::string(what) + " at " + std::to_string(i));
}

template <class R> const R& Picked(FuzzedDataProvider& input, const std::vector<R>& rules)
{
    return rules[input.ConsumeIntegralInRange<std::size_t>(0, rules.size() - 1)];
}

// a = rule(a, b) and rule(a, b), by any table of rules.
template <class T> void FuzzArrayWithArray(FuzzedDataProvider& input)
{
    const ArrayRule<T> rule = Picked(input, ArrayRules<T>());
    const bool oneBlock = input.ConsumeBool(), inPlace = input.ConsumeBool() || rule.made == nullptr;
    const bool swapped = input.ConsumeBool();
    const int sizes[3] = {input.ConsumeIntegralInRange(1, 6), input.ConsumeIntegralInRange(1, 4),
                          Block<T>::hasPlanes ? input.ConsumeIntegralInRange(1, 2) : 1};
    const Block<T> left(input, sizes), right(input, sizes);
    const Block<T>& source = oneBlock ? left : right;
    Place a, b;
    auto leftView = left.View(input, sizes, a), rightView = source.View(input, sizes, b);
    if (swapped && a.sizes[2] == 1) { // columns become rows in both
        for (const auto& [view, place] : {std::pair{&leftView, &a}, std::pair{&rightView, &b}}) {
            std::swap(view->dim1, view->dim2);
            std::swap(view->step1, view->step2);
            std::swap(place->sizes[0], place->sizes[1]);
            std::swap(place->steps[0], place->steps[1]);
        }
    }
    std::vector<T> leftStorage = left.Storage();
    const std::vector<T> rightStorage = right.Storage();
    std::vector<T> made;
    ForEach(a, [&](int x, int y, int z) {
        const T q = oneBlock ? leftStorage[b.At(x, y, z)] : rightStorage[b.At(x, y, z)];
        const T value = rule.plain(leftStorage[a.At(x, y, z)], q);
        if (inPlace) leftStorage[a.At(x, y, z)] = value;
        else made.push_back(value);
    });
    std::vector<T> result;
    const Ending ending = RunToItsEnd([&] {
        if (inPlace) rule.inPlace(leftView, rightView);
        else result = Values<T>(rule.made(leftView, rightView));
    });
    Require(ending.returned, "operators return");
    RequireEqual(left.Storage(), leftStorage, rule.name);
    RequireEqual(right.Storage(), rightStorage, "the right operand is read only");
    if (!inPlace) RequireEqual(result, made, rule.name);
}

// An operator whose right operand is no array.
template <class T> struct PlainOperator {
    std::function<void(ElemOf<T>&)> inPlace;
    std::function<ElemOf<T>(const ElemOf<T>&)> made; // may be null
    std::function<T(T)> plain;
};

template <class T> PlainOperator<T> AnyOperator(FuzzedDataProvider& input)
{
    using E = ElemOf<T>;
    const int which = input.ConsumeIntegralInRange(0, 9);
    const T s = Value<T>(input);
    const int n = input.ConsumeBool() ? input.ConsumeIntegralInRange(-2, 34) : input.ConsumeIntegral<int>();
    const float f = Value<float>(input);
    if (which == 0) {
        return {[s](E& a) { a.Fill(s); }, nullptr, [s](T) { return s; }};
    }
    if constexpr (std::is_integral_v<T>) {
        switch (which) {
        case 1:
            return {[n](E& a) { a <<= n; }, [n](const E& a) { return a << n; },
                    [n](T p) { return ShiftLeft(p, n); }};
        case 2:
            return {[n](E& a) { a >>= n; }, [n](const E& a) { return a >> n; },
                    [n](T p) { return ShiftRight(p, n); }};
        case 3:
            return {[f](E& a) { a *= f; }, [f](const E& a) { return a * f; },
                    [f](T p) { return Cut<T>(static_cast<float>(p) * f); }};
        case 4:
            return {[f](E& a) { a /= f; }, [f](const E& a) { return a / f; },
                    [f](T p) { return Cut<T>(static_cast<float>(p) / f); }};
        case 5: return {nullptr, [](const E& a) { return ~a; }, [](T p) { return Low<T>(~std::int64_t{p}); }};
        default: break;
        }
    }
    const ScalarRule<T> rule = Picked(input, ScalarRules<T>());
    PlainOperator<T> op{[rule, s](E& a) { rule.inPlace(a, s); }, nullptr,
                        [rule, s](T p) { return rule.plain(p, s); }};
    if (rule.made) op.made = [rule, s](const E& a) { return rule.made(a, s); };
    return op;
}

template <class T> void FuzzArrayAlone(FuzzedDataProvider& input)
{
    const PlainOperator<T> op = AnyOperator<T>(input);
    const bool inPlace = op.inPlace && (input.ConsumeBool() || !op.made);
    const int sizes[3] = {input.ConsumeIntegralInRange(1, 6), input.ConsumeIntegralInRange(1, 4),
                          Block<T>::hasPlanes ? input.ConsumeIntegralInRange(1, 2) : 1};
    const Block<T> block(input, sizes);
    Place place;
    auto view = block.View(input, sizes, place);
    std::vector<T> expected = block.Storage(), made, result;
    ForEach(place, [&](int x, int y, int z) {
        const T value = op.plain(expected[place.At(x, y, z)]);
        if (inPlace) expected[place.At(x, y, z)] = value;
        else made.push_back(value);
    });
    const Ending ending = RunToItsEnd([&] {
        if (inPlace) op.inPlace(view);
        else result = Values<T>(op.made(view));
    });
    Require(ending.returned, "operators return");
    RequireEqual(block.Storage(), expected, "only the view is written, by the rule");
    if (!inPlace) RequireEqual(result, made, "a new array holds the results");
}

// Values from one type to another, over the shape of the source.
template <class From, class To> To Converted(From p)
{
    if constexpr (std::is_same_v<From, To>) return p;
    else if constexpr (std::is_floating_point_v<To>) return static_cast<To>(p);
    else if constexpr (std::is_floating_point_v<From>) return Cut<To>(p);
    else return Low<To>(p);
}

template <class From, class To>
void FuzzConversion(FuzzedDataProvider& input, void (*convert)(const KX_Base&, KX_Base&))
{
    const bool planes = Block<From>::hasPlanes && Block<To>::hasPlanes;
    const int sizes[3] = {input.ConsumeIntegralInRange(1, 6), input.ConsumeIntegralInRange(1, 4),
                          planes ? input.ConsumeIntegralInRange(1, 2) : 1};
    const Block<From> source(input, sizes);
    const Block<To> target(input, sizes);
    Place from, to;
    auto src = source.View(input, sizes, from);
    auto dst = target.View(input, sizes, to);
    const std::vector<From> values = source.Storage();
    std::vector<To> expected = target.Storage();
    ForEach(from, [&](int x, int y, int z) {
        expected[to.At(x, y, z)] = Converted<From, To>(values[from.At(x, y, z)]);
    });
    const Ending ending = RunToItsEnd([&] { convert(src, dst); });
    Require(ending.returned, "conversions return");
    RequireEqual(target.Storage(), expected, "conversion");
    RequireEqual(source.Storage(), values, "the source is read only");
}

// A view of bytes as the ordering operators read it: of a block of the library, or of a buffer that is
// attached.
class BytesAsShorts {
public:
    BytesAsShorts(FuzzedDataProvider& input, const int (&sizes)[3]) : block(input, sizes)
    {
        view.emplace(block.View(input, sizes, place));
        if (!input.ConsumeBool()) return;
        // As many bytes before and behind it as the doubled distances of any view inside it reach.
        const int length = block.Length();
        buffer.resize(3 * static_cast<std::size_t>(length));
        for (UBYTE& byte : buffer) byte = Value<UBYTE>(input);
        MatByte attached;
        attached.Attach_to_raw_image(buffer.data() + length + place.origin, place.sizes[0], place.sizes[1]);
        attached.step1 = place.steps[0];
        attached.step2 = place.steps[1];
        view.emplace(attached);
    }

    const MatByte& View() const { return *view; }

    // 0 outside of the block.
    short At(int x, int y) const
    {
        const int at = place.origin + 2 * (x * place.steps[0] + y * place.steps[1]);
        if (buffer.empty() && (at < 0 || at + 2 > block.Length())) return 0;
        short value;
        std::memcpy(&value, buffer.empty() ? block.Data() + at : buffer.data() + block.Length() + at,
                    sizeof value);
        return value;
    }

    Place place;

private:
    Block<UBYTE> block;
    std::vector<UBYTE> buffer; // empty where nothing is attached
    std::optional<MatByte> view;
};

// The ordering operators of byte matrices read 16-bit values at 16-bit positions.
void FuzzBytesAsShorts(FuzzedDataProvider& input)
{
    const int which = input.ConsumeIntegralInRange(0, 6);
    const int sizes[3] = {input.ConsumeIntegralInRange(1, 6), input.ConsumeIntegralInRange(1, 4), 1};
    const BytesAsShorts left(input, sizes), right(input, sizes);
    const MatByte &leftView = left.View(), &rightView = right.View();
    const bool ordering = which < 4;
    std::vector<UBYTE> expected;
    ForEach(left.place, [&](int x, int y, int) {
        const short p = left.At(x, y), q = right.At(x, y);
        const bool holds[] = {p > q, p < q, p >= q, p <= q, p && q, p || q, !p};
        expected.push_back(holds[which] ? (ordering ? 255 : 1) : 0);
    });
    std::vector<UBYTE> result;
    const Ending ending = RunToItsEnd([&] {
        const MatByte answers = which == 0   ? leftView > rightView
                                : which == 1 ? leftView < rightView
                                : which == 2 ? leftView >= rightView
                                : which == 3 ? leftView <= rightView
                                : which == 4 ? leftView && rightView
                                : which == 5 ? leftView || rightView
                                             : !leftView;
        result = Values<UBYTE>(answers);
    });
    Require(ending.returned, "comparisons return");
    RequireEqual(result, expected, "comparison as shorts");
}

template <class T> void FuzzFamily(FuzzedDataProvider& input)
{
    if (input.ConsumeBool()) FuzzArrayWithArray<T>(input);
    else FuzzArrayAlone<T>(input);
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    switch (input.ConsumeIntegralInRange(0, 16)) {
    case 0: return FuzzFamily<UBYTE>(input);
    case 1: return FuzzFamily<short>(input);
    case 2: return FuzzFamily<int>(input);
    case 3: return FuzzFamily<float>(input);
    case 4: return FuzzBytesAsShorts(input);
    case 5: return FuzzConversion<UBYTE, short>(input, KX_Base::Convert_Bs);
    case 6: return FuzzConversion<short, UBYTE>(input, KX_Base::Convert_sB);
    case 7: return FuzzConversion<UBYTE, int>(input, KX_Base::Convert_Bi);
    case 8: return FuzzConversion<int, UBYTE>(input, KX_Base::Convert_iB);
    case 9: return FuzzConversion<UBYTE, float>(input, KX_Base::Convert_Bf);
    case 10: return FuzzConversion<float, UBYTE>(input, KX_Base::Convert_fB);
    case 11: return FuzzConversion<short, int>(input, KX_Base::Convert_si);
    case 12: return FuzzConversion<int, short>(input, KX_Base::Convert_is);
    case 13: return FuzzConversion<short, float>(input, KX_Base::Convert_sf);
    case 14: return FuzzConversion<float, short>(input, KX_Base::Convert_fs);
    case 15: return FuzzConversion<int, float>(input, KX_Base::Convert_if);
    default: return FuzzConversion<float, int>(input, KX_Base::Convert_fi);
    }
}
