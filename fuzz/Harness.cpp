// Doubles for whatever ends a process or reaches out of it. The linker leads the calls of the program and of
// the library here (--wrap), so that their code is the same as in production up to that call:
//
//   pause           the fail-stop sleeps in it: it leaves by an exception instead
//   exit            likewise
//   jpeg_std_error  libjpeg's error manager, whose error_exit calls exit inside libjpeg: its end is noted,
//                   libjpeg's memory released, and the writer left by an exception. The writer catches
//                   exceptions; what it does from there on is not what a process that ended would do.
//   fopen, fclose   files in memory; fmemopen and open_memstream are theirs already and are only counted
//   malloc          storage with a limit
//
// Outside RunToItsEnd all of them are the real ones: libFuzzer itself calls them too.
#include <fuzz/Harness.h>

#include <Kavrix/Kavrix.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <utility>

#include <stdio_ext.h>
#include <unistd.h>

#include <jpeglib.h>

std::map<std::string, FileBytes> files;
Storage storage;
Disk disk;

namespace {

// Not std::exception: what catches those must not catch these.
struct Halted {};
struct Exited {
    int status;
};

std::uint32_t inputHash = 0;
bool inside = false;        // a routine is running
bool endedByJpeg = false;   // libjpeg would have ended the process
std::string* err = nullptr; // what the routine prints

struct OpenFile {
    std::string name;
    std::unique_ptr<FileBytes> bytes; // so far, of one that is written
    std::size_t at = 0;               // of one that is read: the next byte, beyond the end as well
};
std::map<std::FILE*, std::unique_ptr<OpenFile>> openFiles;

// Takes what there is room for.
ssize_t WriteToDisk(void* cookie, const char* bytes, std::size_t length)
{
    FileBytes& file = *static_cast<FileBytes*>(cookie);
    const std::size_t room = disk.space - std::min(file.size(), disk.space);
    const std::size_t taken = std::min(length, room);
    file.insert(file.end(), bytes, bytes + taken);
    if (taken == 0) errno = ENOSPC;
    return static_cast<ssize_t>(taken);
}

ssize_t ReadFromFile(void* cookie, char* bytes, std::size_t length)
{
    OpenFile& open = *static_cast<OpenFile*>(cookie);
    const FileBytes& file = files[open.name];
    const std::size_t from = std::min(open.at, file.size()), got = std::min(length, file.size() - from);
    std::copy_n(file.begin() + static_cast<std::ptrdiff_t>(from), got, bytes);
    open.at += got;
    return static_cast<ssize_t>(got);
}

// As of a file on a disk: to anywhere but before its begin.
int SeekInFile(void* cookie, off64_t* offset, int whence)
{
    OpenFile& open = *static_cast<OpenFile*>(cookie);
    const std::size_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? open.at : files[open.name].size();
    const off64_t at = static_cast<off64_t>(base) + *offset;
    if (at < 0) {
        errno = EINVAL;
        return -1;
    }
    open.at = static_cast<std::size_t>(at);
    *offset = at;
    return 0;
}

ssize_t PrintToErr(void*, const char* text, std::size_t length)
{
    err->append(text, length);
    return static_cast<ssize_t>(length);
}

// Both error streams into one text, in order, and standard output into another.
class Capture {
public:
    explicit Capture(Ending& ending)
        : out{ending.out}, errs{ending.err}, coutBuffer(std::cout.rdbuf(&out)),
          cerrBuffer(std::cerr.rdbuf(&errs)), errStream(stderr)
    {
        static std::FILE* const printed = [] {
            std::FILE* const stream = fopencookie(nullptr, "w", {nullptr, PrintToErr, nullptr, nullptr});
            std::setvbuf(stream, nullptr, _IONBF, 0);
            return stream;
        }();
        err = &ending.err;
        stderr = printed;
    }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;
    ~Capture()
    {
        stderr = errStream;
        std::cerr.rdbuf(cerrBuffer);
        std::cout.rdbuf(coutBuffer);
        std::cout.clear();
        std::cerr.clear();
    }

private:
    struct Buffer : std::streambuf {
        explicit Buffer(std::string& to) : text(to) {}
        int_type overflow(int_type c) override
        {
            if (c != traits_type::eof()) text.push_back(static_cast<char>(c));
            return 0;
        }
        std::streamsize xsputn(const char* more, std::streamsize length) override
        {
            text.append(more, static_cast<std::size_t>(length));
            return length;
        }
        std::string& text;
    };

    Buffer out, errs;
    std::streambuf *coutBuffer, *cerrBuffer;
    std::FILE* errStream;
};

} // namespace

// ---------------------------------------------------------------------------------- doubles

// NOLINTBEGIN(bugprone-reserved-identifier): the linker names them
extern "C" {

int __real_pause();
[[noreturn]] void __real_exit(int status);
jpeg_error_mgr* __real_jpeg_std_error(jpeg_error_mgr* manager);
std::FILE* __real_fopen(const char* name, const char* mode);
std::FILE* __real_fmemopen(void* memory, std::size_t size, const char* mode);
std::FILE* __real_open_memstream(char** memory, std::size_t* size);
int __real_fclose(std::FILE* file);
void* __real_malloc(std::size_t size);

int __wrap_pause()
{
    if (inside) throw Halted{};
    return __real_pause();
}

[[noreturn]] void __wrap_exit(int status)
{
    if (inside) throw Exited{status};
    __real_exit(status);
}

static void LeaveLibjpeg(j_common_ptr cinfo)
{
    cinfo->err->output_message(cinfo);
    jpeg_destroy(cinfo);
    endedByJpeg = true;
    throw Exited{EXIT_FAILURE};
}

jpeg_error_mgr* __wrap_jpeg_std_error(jpeg_error_mgr* manager)
{
    __real_jpeg_std_error(manager);
    if (inside) manager->error_exit = LeaveLibjpeg;
    return manager;
}

std::FILE* __wrap_fopen(const char* name, const char* mode)
{
    if (!inside) return __real_fopen(name, mode);
    const bool written = mode[0] == 'w';
    const auto found = files.find(name);
    if (!written && found == files.end()) return nullptr;

    auto open = std::make_unique<OpenFile>(OpenFile{name, {}, 0});
    std::FILE* file = nullptr;
    if (written) {
        open->bytes = std::make_unique<FileBytes>();
        file = fopencookie(open->bytes.get(), mode, {nullptr, WriteToDisk, nullptr, nullptr});
        files[name].clear(); // as of now it is an empty one
    } else {
        file = fopencookie(open.get(), mode, {ReadFromFile, nullptr, SeekInFile, nullptr});
    }
    openFiles[file] = std::move(open);
    return file;
}

std::FILE* __wrap_fmemopen(void* memory, std::size_t size, const char* mode)
{
    std::FILE* const file = __real_fmemopen(memory, size, mode);
    if (inside && file != nullptr) openFiles[file] = std::make_unique<OpenFile>(OpenFile{"memory", {}, 0});
    return file;
}

std::FILE* __wrap_open_memstream(char** memory, std::size_t* size)
{
    std::FILE* const file = __real_open_memstream(memory, size);
    if (inside && file != nullptr) openFiles[file] = std::make_unique<OpenFile>(OpenFile{"memory", {}, 0});
    return file;
}

int __wrap_fclose(std::FILE* file)
{
    if (!inside) return __real_fclose(file);
    const auto open = openFiles.find(file);
    if (open == openFiles.end()) Finding("closes a stream that is not open");
    const int result = __real_fclose(file);
    if (open->second->bytes) files[open->second->name] = *open->second->bytes;
    openFiles.erase(open);
    return result;
}

void* __wrap_malloc(std::size_t size)
{
    if (!inside) return __real_malloc(size);
    if (size > storage.limit) return nullptr;
    void* const piece = __real_malloc(size);
    if (piece != nullptr && storage.fill >= 0) std::memset(piece, storage.fill, size);
    return piece;
}

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

// ---------------------------------------------------------------------------------- for the targets

bool Ending::HaltedWith(const std::string& message) const
{
    if (!halted || err.empty() || err.back() != '\n') return false;
    const std::size_t before = err.rfind('\n', err.size() - 2);
    const std::string line = err.substr(before == std::string::npos ? 0 : before + 1);
    return line.ends_with(": " + message + "\n");
}

Ending RunToItsEnd(const std::function<void()>& routine)
{
    Ending ending;
    {
        const Capture capture(ending);
        endedByJpeg = false;
        inside = true;
        try {
            routine();
            ending.returned = !endedByJpeg;
            ending.exited = endedByJpeg;
            ending.status = endedByJpeg ? EXIT_FAILURE : 0;
        } catch (const Halted&) {
            ending.halted = true;
        } catch (const Exited& exited) {
            ending.exited = true;
            ending.status = exited.status;
        }
        inside = false;
    }
    if (ending.returned && !openFiles.empty()) Finding("leaves " + openFiles.begin()->second->name + " open");
    for (const auto& [file, open] : openFiles) {
        __fpurge(file); // a process that has ended or sleeps writes nothing any more
        __real_fclose(file);
        if (open->bytes) files[open->name] = *open->bytes;
    }
    openFiles.clear();
    Require(Trace::getLevel() == 0, "the trace stack is empty again");
    return ending;
}

void Finding(std::string_view what)
{
    inside = false;
    const std::string line = "FINDING: " + std::string(what) + "\n";
    if (write(STDERR_FILENO, line.data(), line.size()) < 0) std::abort();
    std::abort();
}

bool OneIn(unsigned n) { return inputHash % n == 0; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    files.clear();
    storage = Storage();
    disk = Disk();
    const int blocks = Datablock::nblocks;
    const unsigned bytes = Datablock::memUsed();
    inputHash = 2166136261u; // FNV-1a
    for (std::size_t i = 0; i < size; i++) inputHash = (inputHash ^ data[i]) * 16777619u;
    inputHash ^= inputHash >> 16;
    FuzzedDataProvider input(data, size);
    Fuzz(input);
    Require(Datablock::nblocks == blocks && Datablock::memUsed() == bytes, "all storage is released");
    return 0;
}
