// All that is asked of libcamera: its manager, one camera with one stream, and the requests that go round.
#include <camera/libcamera/Device.h>

#include <camera/libcamera/CameraChoice.h>
#include <camera/libcamera/PictureConvert.h>

#include <libcamera/libcamera.h>
#include <libcamera/logging.h>

#include <algorithm>
#include <cstdlib>
#include <list>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <linux/dma-buf.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

namespace telvane::camera {

namespace {

// The manager, of which libcamera allows one in a process: all devices share it.
class Manager {
public:
    Manager()
    {
        const std::lock_guard lock(mutex);
        if (users++ > 0) return;
        libcamera::logSetTarget(libcamera::LoggingTargetNone); // it would write to standard error
        manager = new libcamera::CameraManager;
        started = manager->start() == 0;
    }
    ~Manager()
    {
        const std::lock_guard lock(mutex);
        if (--users > 0) return;
        if (started) manager->stop();
        delete manager;
        manager = nullptr;
    }
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;

    std::vector<std::shared_ptr<libcamera::Camera>> Cameras() const
    {
        const std::lock_guard lock(mutex);
        return started ? manager->cameras() : std::vector<std::shared_ptr<libcamera::Camera>>();
    }

private:
    static inline std::mutex mutex;
    static inline int users = 0;
    static inline bool started = false;
    // Not a smart pointer: it must not be destroyed at exit when a camera is still in use.
    static inline libcamera::CameraManager* manager = nullptr;
};

// A piece of memory of the camera, mapped to be read.
class Mapping {
public:
    Mapping(int descriptor, std::size_t bytes)
        : fd(descriptor), size(bytes), start(mmap(nullptr, size, PROT_READ, MAP_SHARED, fd, 0))
    {
    }
    ~Mapping()
    {
        if (Good()) munmap(start, size);
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    bool Good() const { return start != MAP_FAILED; }
    int Fd() const { return fd; }
    const unsigned char* At(std::size_t offset) const
    {
        return static_cast<const unsigned char*>(start) + offset;
    }

    // Brackets reading with DMA_BUF_SYNC_START and ..._END, so that the processor's cache shows what the
    // camera wrote. Memory that is no DMA buffer refuses, and needs no such thing.
    void Sync(std::uint64_t edge) const
    {
        dma_buf_sync sync{};
        sync.flags = edge | DMA_BUF_SYNC_READ;
        ioctl(fd, DMA_BUF_IOCTL_SYNC, &sync);
    }

private:
    int fd;
    std::size_t size;
    void* start;
};

// A buffer of the camera, as the conversion reads it.
struct Picture {
    std::list<Mapping> mappings; // one for each descriptor; planes may share one
    Planes planes;
};

bool Map(const libcamera::FrameBuffer& buffer, Picture& picture)
{
    const auto& planes = buffer.planes();
    if (planes.size() > picture.planes.size()) return false;
    for (std::size_t i = 0; i < planes.size(); i++) {
        const int fd = planes[i].fd.get();
        auto mapping = std::find_if(picture.mappings.begin(), picture.mappings.end(),
                                    [fd](const Mapping& m) { return m.Fd() == fd; });
        if (mapping == picture.mappings.end()) {
            std::size_t size = 0;
            for (const auto& plane : planes)
                if (plane.fd.get() == fd) size = std::max(size, std::size_t(plane.offset) + plane.length);
            mapping = picture.mappings.emplace(mapping, fd, size);
            if (!mapping->Good()) return false;
        }
        picture.planes[i] = {mapping->At(planes[i].offset), planes[i].length};
    }
    return true;
}

} // namespace

struct Device::Parts {
    explicit Parts(FrameExchange& exchange) : frames(exchange) {}
    ~Parts() { Release(); }
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    bool Start();
    bool Configure();
    bool PrepareRequests();
    void Release();
    void Completed(libcamera::Request* request); // on libcamera's thread
    void Gone() { frames.Close(); }              // likewise

    FrameExchange& frames;
    std::unique_ptr<Manager> manager;
    std::shared_ptr<libcamera::Camera> camera; // acquired
    std::unique_ptr<libcamera::CameraConfiguration> configuration;
    PictureFormat format;
    std::unique_ptr<libcamera::FrameBufferAllocator> allocator;
    std::vector<Picture> pictures; // one for each request, whose cookie is the index
    std::vector<std::unique_ptr<libcamera::Request>> requests;

    // Those that hold something. A program may call exit while a camera films, whose object is then never
    // destroyed: libcamera's threads must have ended before its static objects go.
    static inline std::mutex holdersMutex;
    static std::set<Parts*>& Holders()
    {
        static auto* const holders = new std::set<Parts*>; // for as long as anything may ask
        return *holders;
    }
    static void ReleaseAll();
};

bool Device::Parts::Start()
{
    {
        const std::lock_guard lock(holdersMutex);
        Holders().insert(this);
    }
    manager = std::make_unique<Manager>();
    // After the library's static objects were made, so that it runs before they are destroyed.
    [[maybe_unused]] static const int registered = std::atexit(ReleaseAll);

    {
        const auto cameras = manager->Cameras();
        if (cameras.empty()) return false;
        std::vector<std::string> ids(cameras.size());
        std::transform(cameras.begin(), cameras.end(), ids.begin(),
                       [](const auto& each) { return each->id(); });
        const auto& chosen = cameras[ChooseCamera(ids)];
        if (chosen->acquire() != 0) return false; // another program has it
        camera = chosen;
    }
    if (!Configure() || !PrepareRequests()) return false;

    camera->requestCompleted.connect(this, &Parts::Completed);
    camera->disconnected.connect(this, &Parts::Gone);
    if (camera->start() != 0) return false;
    return std::all_of(requests.begin(), requests.end(),
                       [this](const auto& request) { return camera->queueRequest(request.get()) == 0; });
}

// The first format of those that can be converted which the camera delivers in the frame's size.
bool Device::Parts::Configure()
{
    configuration = camera->generateConfiguration({libcamera::StreamRole::Viewfinder});
    if (!configuration || configuration->empty()) return false;
    libcamera::StreamConfiguration& stream = configuration->at(0);
    const libcamera::StreamConfiguration proposal = stream;
    const std::vector<libcamera::PixelFormat> offered = proposal.formats().pixelformats();
    const libcamera::Size size(frameWidth, frameHeight);

    for (const std::uint32_t fourcc : ConvertibleFormats()) {
        const libcamera::PixelFormat wanted(fourcc);
        if (!offered.empty() && std::find(offered.begin(), offered.end(), wanted) == offered.end()) continue;
        stream = proposal;
        stream.pixelFormat = wanted;
        stream.size = size;
        stream.bufferCount = 4; // enough that one is always with the camera
        // What it cannot do it changes; changes of other things than these two are welcome.
        if (configuration->validate() == libcamera::CameraConfiguration::Invalid) continue;
        if (stream.pixelFormat == wanted && stream.size == size)
            return camera->configure(configuration.get()) == 0;
    }
    return false;
}

bool Device::Parts::PrepareRequests()
{
    const libcamera::StreamConfiguration& stream = configuration->at(0);
    format.fourcc = stream.pixelFormat.fourcc();
    format.width = frameWidth;
    format.height = frameHeight;
    format.stride = stream.stride;
    if (const auto& space = stream.colorSpace) {
        using Encoding = libcamera::ColorSpace::YcbcrEncoding;
        format.weights = space->ycbcrEncoding == Encoding::Rec709    ? LumaWeights::rec709
                         : space->ycbcrEncoding == Encoding::Rec2020 ? LumaWeights::rec2020
                                                                     : LumaWeights::rec601;
        format.fullRange = space->range == libcamera::ColorSpace::Range::Full;
    }

    allocator = std::make_unique<libcamera::FrameBufferAllocator>(camera);
    if (allocator->allocate(stream.stream()) < 0) return false;
    for (const auto& buffer : allocator->buffers(stream.stream())) {
        Picture& picture = pictures.emplace_back();
        if (!Map(*buffer, picture) || !CanConvert(format, picture.planes)) return false;
        requests.push_back(camera->createRequest(requests.size()));
        if (!requests.back() || requests.back()->addBuffer(stream.stream(), buffer.get()) != 0) return false;
    }
    return !requests.empty();
}

void Device::Parts::Completed(libcamera::Request* request)
{
    if (request->status() == libcamera::Request::RequestCancelled) return; // the camera stops
    unsigned char* const frame = frames.BeginFrame();
    if (!frame) return;
    const libcamera::FrameBuffer* const buffer = request->buffers().begin()->second;
    const libcamera::FrameMetadata& metadata = buffer->metadata();
    // Not every camera fills this in: what is no failure is a frame.
    const bool good = metadata.status != libcamera::FrameMetadata::FrameError &&
                      metadata.status != libcamera::FrameMetadata::FrameCancelled;
    if (good) {
        const Picture& picture = pictures[request->cookie()];
        for (const Mapping& mapping : picture.mappings) mapping.Sync(DMA_BUF_SYNC_START);
        ConvertToBgr(format, picture.planes, frame);
        for (const Mapping& mapping : picture.mappings) mapping.Sync(DMA_BUF_SYNC_END);
    }
    const std::int64_t duration = request->metadata().get(libcamera::controls::FrameDuration).value_or(0);
    frames.EndFrame(good,
                    {metadata.sequence, static_cast<std::int64_t>(metadata.timestamp), 1000 * duration});
    request->reuse(libcamera::Request::ReuseBuffers);
    camera->queueRequest(request);
}

// Gives back whatever was taken, in the reverse order; a second time there is nothing left to do.
void Device::Parts::Release()
{
    const std::lock_guard lock(holdersMutex);
    if (Holders().erase(this) == 0) return;
    frames.Close();
    if (camera) {
        camera->stop(); // when it returns, all requests are back
        camera->requestCompleted.disconnect(this);
        camera->disconnected.disconnect(this);
    }
    requests.clear();
    pictures.clear();
    allocator.reset();
    configuration.reset();
    if (camera) camera->release();
    camera.reset();
    manager.reset();
}

void Device::Parts::ReleaseAll()
{
    std::unique_lock lock(holdersMutex);
    while (!Holders().empty()) {
        Parts* const parts = *Holders().begin();
        lock.unlock();
        parts->Release();
        lock.lock();
    }
}

Device::Device(std::unique_ptr<Parts> p) : parts(std::move(p)) {}

Device::~Device() = default;

std::chrono::milliseconds Device::Patience() { return std::chrono::seconds(2); }

std::unique_ptr<Device> Device::Start(FrameExchange& frames)
{
    auto started = std::make_unique<Parts>(frames);
    return started->Start() ? std::unique_ptr<Device>(new Device(std::move(started))) : nullptr;
}

} // namespace telvane::camera
