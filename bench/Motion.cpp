// What the benchmarks work on.
#include <bench/Motion.h>

#include <simulator/Wheel.h>

#include <random>

CubByte BenchFrames(int count)
{
    static CubByte* const frames = [] {
        const telvane::WheelScene scene;
        auto* const drawn = new CubByte(scene.width, scene.height, 50); // kept until the program ends
        for (int i = 0; i < drawn->dim3; i++) telvane::RenderWheel(scene, i, &(*drawn)(0, 0, i));
        return drawn;
    }();
    return (*frames)(RNG::All(), RNG::All(), RNG(0, count - 1));
}

BenchMotion& Motion15()
{
    static BenchMotion* const motion = [] {
        auto* const m = new BenchMotion;
        CubByte frames = BenchFrames(15);
        m->u_sum.Resize(frames.dim1 + 1, frames.dim2 + 1);
        m->v_sum.Resize(frames.dim1 + 1, frames.dim2 + 1);
        m->u_sum.Fill(0);
        m->v_sum.Fill(0);
        OpticalFlow12Alt(frames, m->u_sum, m->v_sum, 2);
        OF_Norm(m->u_sum, m->v_sum, m->u_sum_sh, m->v_sum_sh, m->mag_sh);
        float cx, cy;
        OpticalFlowPostprocAlt(m->u_sum_sh, m->v_sum_sh, 14, benchInnerR, benchOuterR, 0, 1, m->hough, cx,
                               cy);
        return m;
    }();
    return *motion;
}

MatByte BenchRing(int r1, int r2)
{
    MatByte ring(2 * r2 + 1, 2 * r2 + 1);
    for (int y = -r2; y <= r2; y++) {
        for (int x = -r2; x <= r2; x++) {
            const int distance2 = x * x + y * y;
            ring(x + r2, y + r2) = distance2 >= r1 * r1 && distance2 <= r2 * r2 ? 255 : 0;
        }
    }
    return ring;
}

MatByte BenchRandomCells(int size)
{
    MatByte cells(size, size);
    std::mt19937 random(1);
    for (int y = 0; y < size; y++)
        for (int x = 0; x < size; x++) cells(x, y) = random() % 2 ? 255 : 0;
    return cells;
}
