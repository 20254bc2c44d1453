// What libcamera's virtual camera wants of a system, for a process that this library is loaded into before
// all others.
//
// /dev/udmabuf, which gives it memory for pictures: a kernel without it, or a container without its node, is
// no reason not to film. Memory of the process does as well.
//
// Its configuration: the file that VIRTUAL_CAMERA names, instead of one among the system's own.
//
// A frame rate: it draws pictures as fast as they are fetched. Each time that the processor is to see what a
// camera wrote, this waits until a thirtieth of a second has passed.
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/dma-buf.h>
#include <linux/udmabuf.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char* Redirected(const char* path)
{
    const std::string_view wanted = "/pipeline/virtual/virtual.yaml", name = path ? path : "";
    const char* const own = std::getenv("VIRTUAL_CAMERA");
    const bool ends = name.size() >= wanted.size() && name.substr(name.size() - wanted.size()) == wanted;
    return ends && own ? own : path;
}

template <class Function> Function* Next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int Open(const char* function, const char* path, int flags, mode_t mode)
{
    if (path && std::strcmp(path, "/dev/udmabuf") == 0) return memfd_create("udmabuf", MFD_CLOEXEC);
    return Next<int(const char*, int, ...)>(function)(Redirected(path), flags, mode);
}

void WaitForTheNextPicture()
{
    static timespec next{};
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (now.tv_sec > next.tv_sec || (now.tv_sec == next.tv_sec && now.tv_nsec > next.tv_nsec)) next = now;
    next.tv_nsec += 33'333'333;
    if (next.tv_nsec >= 1'000'000'000) next = {next.tv_sec + 1, next.tv_nsec - 1'000'000'000};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr);
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return Open("open", path, flags, mode);
}

int open64(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return Open("open64", path, flags, mode);
}

int stat(const char* path, struct stat* result)
{
    return Next<int(const char*, struct stat*)>("stat")(Redirected(path), result);
}

int stat64(const char* path, struct stat64* result)
{
    return Next<int(const char*, struct stat64*)>("stat64")(Redirected(path), result);
}

int ioctl(int fd, unsigned long request, ...)
{
    va_list rest;
    va_start(rest, request);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    if (request == UDMABUF_CREATE)
        return dup(static_cast<int>(static_cast<udmabuf_create*>(argument)->memfd));
    if (request == DMA_BUF_IOCTL_SYNC) {
        if ((static_cast<dma_buf_sync*>(argument)->flags & DMA_BUF_SYNC_END) == 0) WaitForTheNextPicture();
        return 0;
    }
    return Next<int(int, unsigned long, ...)>("ioctl")(fd, request, argument);
}

} // extern "C"
