// Fail-stop, trace stack, pixel formats, index ranges, and the array base.
#include <Kavrix/KXcommon.h>

#include <Kavrix/HaltHook.h>
#include <Kavrix/inner/KXelementwise.h>
#include <Kavrix/inner/NotEnoughMemory.h>
#include <Kavrix/inner/Resize.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>

#include <unistd.h>

using namespace kavrix::inner;

// ---------------------------------------------------------------------------------- diagnostics

int Trace::level = 0;
const char* Trace::msgarr[Trace::maxLevel];

Trace::Trace(const char* name)
{
    if (level >= maxLevel) return;
    msgarr[level] = name;
    level++;
}

// A trace holds nothing and does not know whether its constructor was ignored: past 100 nested traces every
// surplus destructor still pops one of the stored names, and the stack falls out of step.
Trace::~Trace()
{
    if (level >= 1) level--;
}

bool kavrix::ComposeErrorLine(char (&line)[errorLineSize], int errorCode, const char* message)
{
    std::memset(line, 0xFF, sizeof line);

    // The three innermost names, each with its depth; cut to the buffer.
    char context[100] = "";
    const int depth = Trace::getLevel();
    for (int i = std::max(depth - 3, 0); i < depth; i++) {
        const std::size_t used = std::strlen(context);
        std::snprintf(context + used, sizeof context - used, " %d:%s", i, Trace::getMsg(i));
    }

    // The stamp is fixed: no clock is read, and two runs give the same line.
    const short month = 1, day = 1, hour = 0, minute = 0, second = 0, millisecond = 0;

    const std::size_t contextLength = std::strlen(context);
    if (std::strlen(message) + contextLength > 139) {
        if (contextLength > 119) return false;
        message = "[message too long]";
    }
    std::snprintf(line, sizeof line, "%02d/%02d %02d:%02d:%02d.%03d > -999 Err%d in%s: %s", month, day, hour,
                  minute, second, millisecond, errorCode, context, message);
    return true;
}

namespace {

kavrix::HaltHook haltHook = nullptr;

// Sleeping, not spinning: the halted program must not burn the board's processor.
[[noreturn]] void Halt()
{
    for (;;) pause();
}

} // namespace

void kavrix::SetHaltHook(HaltHook hook) { haltHook = hook; }

bool kavrix::HasHaltHook() { return haltHook != nullptr; }

void error(int errorCode, const char* message)
{
    if (haltHook != nullptr) haltHook(errorCode, message);
    char line[kavrix::errorLineSize];
    if (kavrix::ComposeErrorLine(line, errorCode, message)) std::fprintf(stderr, "%s\n", line);
    Halt();
}

void gassert(unsigned line, const char* file)
{
    char text[80];
    std::snprintf(text, sizeof text, "G-assertion failed! %s(%u)", file, line); // for a debugger; not printed
    Halt();
}

int BytesPerPixel(int format)
{
    switch (format) {
    case PIX_FMT_Y8: return 1;
    case PIX_FMT_Y16:
    case PIX_FMT_BAYER: return 2;
    case PIX_FMT_FLOAT:
    case PIX_FMT_Y32: return 4;
    case PIX_FMT_RGB24:
    case PIX_FMT_BGR24:
    case PIX_FMT_HSV24: return 3;
    default: return -1;
    }
}

// ---------------------------------------------------------------------------------- index ranges

namespace {

[[noreturn]] void InvalidRange() { error(1, "RNG: Invalid range selection"); }

} // namespace

RNG::RNG(int from_, int to_) : from(from_), to(to_), step(1)
{
    if (from < 0 || to < from) InvalidRange();
}

RNG::RNG(int from_, int to_, int step_) : from(from_), to(to_), step(step_)
{
    if (from < 0 || to < 0 || step == 0 || (step > 0 ? to < from : to > from)) InvalidRange();
}

int RNG::Size() const
{
    if (step == 0) InvalidRange();
    const std::int64_t span = std::int64_t{to} - from;
    return static_cast<int>(std::abs(span) / std::abs(std::int64_t{step}) + 1);
}

bool RNG::inside(const RNG& outer) const
{
    return std::min(from, to) >= std::min(outer.from, outer.to) &&
           std::max(from, to) <= std::max(outer.from, outer.to);
}

namespace {

// Reads one number; nothing where there is none before the next colon or the end.
std::optional<int> RangeNumber(const char*& text)
{
    while (*text == ' ') text++;
    std::optional<int> value;
    if (*text != ':' && *text != 0) {
        if (std::isspace(static_cast<unsigned char>(*text))) InvalidRange(); // strtoll would pass over it
        char* end;
        const long long number = std::strtoll(text, &end, 10);
        if (end == text || number < INT32_MIN || number > INT32_MAX) InvalidRange();
        value = static_cast<int>(number);
        text = end;
    }
    while (*text == ' ') text++;
    return value;
}

} // namespace

RNG RNG::GetRng(const char* text)
{
    if (text == nullptr) InvalidRange();
    std::optional<int> parts[3];
    int count = 0;
    for (;;) {
        parts[count++] = RangeNumber(text);
        if (*text == 0) break;
        if (*text != ':' || count == 3) InvalidRange();
        text++;
    }
    if (count == 1) {
        if (!parts[0]) InvalidRange();
        return RNG(*parts[0], *parts[0]);
    }
    const int from = parts[0].value_or(0), to = parts[1].value_or(toEnd);
    if (count == 2) return RNG(from, to);
    if (!parts[2]) InvalidRange();
    return RNG(from, to, *parts[2]);
}

bool AOI::inside(const AOI& outer) const { return rng1.inside(outer.rng1) && rng2.inside(outer.rng2); }

bool VOI::inside(const VOI& outer) const
{
    return rng1.inside(outer.rng1) && rng2.inside(outer.rng2) && rng3.inside(outer.rng3);
}

// ---------------------------------------------------------------------------------- the array base

KX_Base::KX_Base()
    : p_data(nullptr), pblock(nullptr), step1(0), step2(0), step3(0), dim1(0), dim2(0), dim3(0),
      poolObjType(0), myName{}
{
}

KX_Base::KX_Base(const KX_Base& b) : KX_Base() { Share(b); }

KX_Base::~KX_Base()
{
    Datablock::releaseRef(this, pblock);
    pblock = nullptr;
}

void KX_Base::ShareBlock(const KX_Base& b)
{
    Datablock::addRef(this, b.pblock);
    pblock = b.pblock;
    p_data = b.p_data;
}

void KX_Base::Share(const KX_Base& b)
{
    ShareBlock(b);
    step1 = b.step1;
    step2 = b.step2;
    step3 = b.step3;
    dim1 = b.dim1;
    dim2 = b.dim2;
    dim3 = b.dim3;
    poolObjType = b.poolObjType;
    std::memcpy(myName, b.myName, sizeof myName);
}

void KX_Base::Cut(const KX_Base& b, int width, Pick x, Pick y, Pick z)
{
    Pick* const picks[3] = {&x, &y, &z};
    const int steps[3] = {b.step1, b.step2, b.step3};
    const int sizes[3] = {b.dim1, b.dim2, b.dim3};
    int newSteps[3] = {1, 0, 0}, newSizes[3] = {1, 1, 1}, used = 0;
    std::ptrdiff_t offset = 0;
    for (int d = 0; d < 3; d++) {
        RNG& r = picks[d]->range;
        offset += std::ptrdiff_t{r.from} * steps[d];
        if (picks[d]->fixed) continue;
        if (r.to == RNG::toEnd) r.to = sizes[d] - 1;
        if (r.step == 0) InvalidRange();
        newSteps[used] = static_cast<int>(std::int64_t{steps[d]} * r.step);
        newSizes[used] = static_cast<int>((std::int64_t{r.to} - r.from) / r.step + 1);
        used++;
    }

    ShareBlock(b);
    if (p_data) p_B_data += offset * width;
    step1 = newSteps[0];
    step2 = newSteps[1];
    step3 = newSteps[2];
    dim1 = newSizes[0];
    dim2 = newSizes[1];
    dim3 = newSizes[2];
}

namespace {

// d1 * d2 * d3; for a product that 64 bits may not hold some number that is too large for any block.
std::int64_t ElementCount(int d1, int d2, int d3)
{
    const std::int64_t plane = std::int64_t{d1} * d2; // |plane| <= 2^62
    if (INT32_MIN <= plane && plane <= INT32_MAX) return plane * d3;
    return d3 == 0 ? 0 : INT64_MAX;
}

Datablock* NewBlock(KX_Base* user, int width, std::int64_t count)
{
    if (count < 0 || count > INT32_MAX) NotEnoughMemory();
    return Datablock::create(user, static_cast<unsigned short>(width), static_cast<int>(count));
}

} // namespace

void KX_Base::Allocate(int width, int d1, int d2, int d3)
{
    pblock = NewBlock(this, width, ElementCount(d1, d2, d3));
    LieDense(d1, d2, d3);
}

void KX_Base::LieDense(int d1, int d2, int d3)
{
    p_data = pblock ? pblock->ptr : nullptr;
    dim1 = d1;
    dim2 = d2;
    dim3 = d3;
    step1 = 1;
    step2 = d1;
    step3 = static_cast<int>(std::int64_t{d1} * d2); // where a plane holds too many elements there are none
}

void KX_Base::Attach(void* data, int width, int w, int h)
{
    if (pblock) error(1, "Error: Already attached to data");
    pblock = Datablock::create(this, static_cast<unsigned short>(width), 0); // a header only
    pblock->ptr = p_data = data;
    step1 = 1;
    dim1 = w;
    step2 = w;
    dim2 = h;
}

void KX_Base::Detach()
{
    Datablock::releaseRef(this, pblock);
    pblock = nullptr;
    p_data = nullptr;
    dim1 = dim2 = 0;
}

void KX_Base::SwapColumnsAndRows()
{
    std::swap(dim1, dim2);
    std::swap(step1, step2);
}

KX_Base& KX_Base::operator=(const KX_Base& src)
{
    // The width comes from the source: this side has no block to ask yet, and none that is shared.
    if (pblock == nullptr && src.pblock != nullptr)
        ResizeBlock(src.pblock->itemsize, src.dim1, src.dim2, src.dim3, nullptr);
    if (pblock == nullptr || src.pblock == nullptr) return *this;
    switch (src.pblock->itemsize == 4 ? 4 : pblock->itemsize) {
    case 1: Elementwise<UBYTE, UBYTE>(*this, src, [](UBYTE& a, UBYTE b) { a = b; }); break;
    case 2: Elementwise<short, short>(*this, src, [](short& a, short b) { a = b; }); break;
    default: Elementwise<int, int>(*this, src, [](int& a, int b) { a = b; }); // floats bit by bit as well
    }
    return *this;
}

namespace {

bool HasShape(const KX_Base& a, int d1, int d2, int d3)
{
    return a.dim1 == d1 && a.dim2 == d2 && a.dim3 == d3;
}

} // namespace

bool kavrix::inner::KeepsStorage(const KX_Base& a, int d1, int d2, int d3)
{
    return a.pblock && (HasShape(a, d1, d2, d3) || a.pblock->len == ElementCount(d1, d2, d3));
}

void KX_Base::ResizeBlock(int width, int d1, int d2, int d3, const char* sharedMessage)
{
    if (pblock && HasShape(*this, d1, d2, d3)) return; // also keeps a view a view
    if (pblock && pblock->nrefs != 1) error(1, sharedMessage);
    if (!KeepsStorage(*this, d1, d2, d3)) {
        const bool wanted = pblock ? d1 != 0 && d2 != 0 : d1 >= 1 && d2 >= 1 && d3 >= 1;
        Datablock::releaseRef(this, pblock);
        pblock = nullptr;
        if (wanted) pblock = NewBlock(this, width, ElementCount(d1, d2, d3));
    }
    LieDense(d1, d2, d3);
}

void KX_Base::Resize_ubyte(int d1, int d2, int d3)
{
    ResizeBlock(1, d1, d2, d3,
                "Resize_ubyte: Object cannot be resized, data are referenced by another object");
}

void KX_Base::Resize_short(int d1, int d2, int d3)
{
    ResizeBlock(2, d1, d2, d3,
                "Resize_short: Object cannot be resized, data are referenced by another object");
}

void KX_Base::Resize_int(int d1, int d2, int d3)
{
    ResizeBlock(4, d1, d2, d3, "Resize_int: Object cannot be resized, data are referenced by another object");
}

void KX_Base::Resize_float(int d1, int d2, int d3)
{
    ResizeBlock(4, d1, d2, d3,
                "Resize_float: Object cannot be resized, data are referenced by another object");
}
