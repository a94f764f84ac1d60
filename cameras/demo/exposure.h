#pragma once

#include <QImage>
#include <vector>

namespace kivra::cameras {

/// Sensor noise: random values, made once and added to each row from another place on.
class Grain
{
public:
    /// Normally distributed values with a standard deviation of \a sigma levels, none beyond
    /// reach().
    explicit Grain(double sigma);

    /// The most by which a level can change. Levels closer to black or white must be pulled in
    /// first.
    int reach() const { return farthest; }

    /// Adds the grain to every colour of \a picture (Format_RGB32), whose levels must all lie from
    /// reach() to 255 - reach(). Another \a seed gives another grain.
    void addTo(QImage &picture, unsigned seed) const;

private:
    int farthest;
    std::vector<uchar> values; // to be added modulo 256; 0 at the place of alpha
};

/// Makes \a picture (Format_RGB32) lighter or darker by \a ev stops, as a camera of gamma 2.2 does:
/// levels are multiplied by 2^(ev / 2.2). Levels are then pulled to at least \a margin from black
/// and white.
void expose(QImage &picture, double ev, int margin = 0);

} // namespace kivra::cameras
