// Runs of the detection on drawn wheels, in this process.
#pragma once

#include <Telvane/Param.h>
#include <Telvane/Telvane.h>
#include <diagnosis/Diagnosis.h>
#include <simulator/Geometry.h>
#include <simulator/Wheel.h>

#include <cmath>
#include <iostream>
#include <sstream>
#include <vector>

/// A wheel in frames of a quarter of the size, which are quickly drawn.
inline telvane::WheelScene Scene()
{
    telvane::WheelScene scene;
    scene.width = 640;
    scene.height = 480;
    scene.centreX = 323.3;
    scene.centreY = 238.6;
    scene.innerR = 130;
    scene.outerR = 160;
    scene.teeth = 24;
    scene.hubR = 30;
    scene.degreesPerFrame = 0.6;
    return scene;
}

inline CubByte DrawnFrames(const telvane::WheelScene& scene, int count)
{
    CubByte frames(scene.width, scene.height, count);
    for (int t = 0; t < count; t++) telvane::RenderWheel(scene, t, &frames(0, 0, t));
    return frames;
}

/// What fits the scene.
inline telvane::RunArguments ArgumentsFor(const telvane::WheelScene& scene, const telvane::Geometry& geometry,
                                          int count, telvane::Method method)
{
    telvane::RunArguments a;
    a.count = count;
    a.files = true;
    a.width = geometry.region.width;
    a.height = geometry.region.height;
    a.centreX = geometry.cx;
    a.centreY = geometry.cy;
    a.innerR = geometry.innerR;
    a.outerR = geometry.outerR;
    a.offset = method == telvane::Method::ring ? -1 : 0;
    a.teeth = scene.teeth;
    a.turn = geometry.sense == 0 ? 1 : geometry.sense;
    return a;
}

/// The detection as the program does it, with what it says.
inline telvane::RunSeen DetectedRun(const CubByte& frames, const telvane::RunArguments& a)
{
    telvane::RunSeen seen;
    seen.frames = frames;
    seen.arguments = a;
    VecInt whole(5), found(5), periods(a.count);
    telvane::Store({0, 0, frames.dim1, frames.dim2}, whole);
    for (int i = 0; i < a.count; i++) periods(i) = i % 2 == 0 ? a.period1 : a.period2;
    CubByte masked(frames.dim1, frames.dim2, frames.dim3);
    masked = frames;
    for (const telvane::Region& region : a.masks) {
        VecInt mask(5);
        telvane::Store(region, mask);
        Mask(masked, whole, &mask, 1);
    }
    VecFloat params(telvane::Param::length);
    params.Fill(0);
    params(telvane::Param::count) = telvane::Param::length;
    params(telvane::Param::cx) = static_cast<float>(a.centreX);
    params(telvane::Param::cy) = static_cast<float>(a.centreY);
    params(telvane::Param::wid) = static_cast<float>(a.width);
    params(telvane::Param::hgh) = static_cast<float>(a.height);
    params(telvane::Param::innerR) = static_cast<float>(a.innerR);
    params(telvane::Param::outerR) = static_cast<float>(a.outerR);
    params(telvane::Param::R3) = static_cast<float>(a.offset);
    params(telvane::Param::ang2) = 360;
    params(telvane::Param::toothAngle) = static_cast<float>(std::rint(360.0 / a.teeth));
    params(telvane::Param::angSpd) = static_cast<float>(a.turn);
    MatByte marked;
    MatShort hough, strength, background;
    std::ostringstream said;
    std::streambuf* const usual = std::cerr.rdbuf(said.rdbuf());
    seen.outcome.result = Detect(1, masked, a.period1 != a.period2, periods, whole, params, found, marked,
                                 hough, seen.u, seen.v, strength, background);
    std::cerr.rdbuf(usual);
    seen.outcome.message = said.str().substr(0, said.str().find('\n'));
    if (seen.outcome.result == 0) seen.outcome.region = telvane::RegionOf(found);
    return seen;
}
