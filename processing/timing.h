#pragma once

/// A start time stamp: the tick count of OpenCV's clock.
double tic();

/// The seconds since \a start, a time stamp of tic().
double toc(double start);
