#include "processing/timing.h"

#include <opencv2/core/utility.hpp>

double tic()
{
    return static_cast<double>(cv::getTickCount());
}

double toc(double start)
{
    return (tic() - start) / cv::getTickFrequency();
}
