// The sensor: shot noise, noise from row to row, read noise, then whole grey levels; and hot pixels.
#ifndef SIMULATOR_SENSOR_H
#define SIMULATOR_SENSOR_H

#include <simulator/Exact.h>
#include <simulator/Wheel.h>

#include <cstdint>

namespace telvane {

class Sensor {
public:
    /// \param frame    the camera frame that is shown
    Sensor(const WheelScene& scene, std::int64_t frame)
        : readScale(scene.noise / deviation), rowScale(scene.rowNoise / deviation),
          shotSquare(scene.fullWell > 0 ? white / scene.fullWell / (deviation * deviation) : 0),
          seed(scene.seed), hot(scene.hotPixels),
          key(Scatter((static_cast<std::uint64_t>(seed) << 32) + static_cast<std::uint32_t>(frame))),
          shotKey(Scatter(key + 1)), rowKey(Scatter(key + 2))
    {
    }

    /// Noise that all pixels of a row share, in grey levels.
    double OfRow(int y) const
    {
        return rowScale > 0 ? rowScale * Normal(rowKey + static_cast<std::uint64_t>(y) * keyStep) : 0;
    }

    /// What the pixel reads that the grey level v of light falls on.
    unsigned char Read(double v, int x, int y, double ofRow) const
    {
        const std::uint64_t pixel = static_cast<std::uint64_t>(y) * 4096 + static_cast<std::uint64_t>(x);
        // The number of electrons varies by its square root.
        if (shotSquare > 0 && v > 0) v += std::sqrt(v * shotSquare) * Normal(shotKey + pixel * keyStep);
        v += ofRow;
        if (readScale > 0) v += readScale * Normal(key + pixel * keyStep);
        return ToByte(v);
    }

    /// Makes the hot pixels of a frame white.
    void Heat(unsigned char* grey, int width, int height) const
    {
        const std::uint64_t hotKey = Scatter((static_cast<std::uint64_t>(seed) << 32) + 0xFFFFFFFFu) + 3;
        const auto pixels = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
        for (int i = 0; i < hot; i++)
            grey[Scatter(hotKey + static_cast<std::uint64_t>(i) * keyStep) % pixels] = 255;
    }

private:
    /// Nearly normal noise: the sum of four uniform 16-bit numbers less its mean.
    static double Normal(std::uint64_t of)
    {
        const std::uint64_t v = Scatter(of);
        const std::uint64_t sum = (v & 0xFFFF) + ((v >> 16) & 0xFFFF) + ((v >> 32) & 0xFFFF) + (v >> 48);
        return static_cast<double>(static_cast<std::int32_t>(sum) - 131070);
    }
    static constexpr double deviation = 37837.2; // of Normal: 65536 * sqrt(4 / 12)
    static constexpr double white = 255;

    static unsigned char ToByte(double v)
    {
        v += 0.5;
        if (!(v > 0)) return 0;
        return v < 255 ? static_cast<unsigned char>(v) : 255;
    }

    double readScale, rowScale;
    double shotSquare; // the square of the scale of shot noise, per grey level
    std::uint32_t seed;
    int hot;
    std::uint64_t key, shotKey, rowKey;
};

} // namespace telvane

#endif
