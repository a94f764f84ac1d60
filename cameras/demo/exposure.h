#pragma once

#include <QImage>
#include <vector>

namespace kivra::cameras {

/// Grain of a sensor: random values made once and laid over each picture at another place.
class Grain
{
public:
    /// Values of \a sigma levels on average, none beyond reach().
    explicit Grain(double sigma);

    /// What a level can change by; levels within it of black or white are pulled in first.
    int reach() const { return farthest; }

    /// Adds the grain to every colour of \a picture (Format_RGB32), whose levels must all lie from
    /// reach() to 255 - reach(). Another \a seed gives another grain.
    void addTo(QImage &picture, unsigned seed) const;

private:
    int farthest;
    std::vector<uchar> values; // to be added modulo 256; nothing at the place of alpha
};

/// Makes \a picture (Format_RGB32) lighter or darker by \a ev stops, as a camera of gamma 2.2 does:
/// levels are multiplied by 2^(ev / 2.2). Levels are then pulled to at least \a margin from black
/// and white.
void expose(QImage &picture, double ev, int margin = 0);

} // namespace kivra::cameras
