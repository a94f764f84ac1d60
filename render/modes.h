#pragma once

#include "render/finish.h"
#include "render/pixels.h"

#include <chrono>
#include <opencv2/core/mat.hpp>

namespace kivra {

/// The source and the target of a picture: two grids of the same size, perhaps the same grid.
struct Job
{
    ConstPixels from;
    Pixels to;
    int threads;    ///< the most that work at once
    cv::Mat &plane; ///< scratch of the modes: the grey or the luma of the picture, CV_8UC1
};

/// Where the time went, in seconds.
struct FrameTimes
{
    double mode = 0;
    double effect = 0; ///< includes the tone
};

/// Tells the seconds since it was made or last asked.
class Clock
{
public:
    double lap()
    {
        const auto now = std::chrono::steady_clock::now();
        const std::chrono::duration<double> passed = now - last;
        last = now;
        return passed.count();
    }

private:
    std::chrono::steady_clock::time_point last = std::chrono::steady_clock::now();
};

/// True for the number of a mode that changes pixels (FrameSettings::mode).
bool isMode(int number);

/// Writes \a job.to: \a mode (none if the number is no mode), then \a finish. Does nothing to an
/// empty picture. Throws if there is no memory for the scratch.
FrameTimes paint(const Job &job, int mode, const Finish &finish);

} // namespace kivra
