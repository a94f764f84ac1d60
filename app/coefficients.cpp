#include "app/coefficients.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double contrastStep = 1.2;
constexpr double zoomStep = 1.1892; // close to the fourth root of two: four steps double the zoom
constexpr int zoomSnap = 12;        // a step that lands nearer than this to 100 lands on 100

// A stored value may be any number; a step from it must not leave the range of int.
int truncated(double value)
{
    constexpr double limit = 1e9;
    return int(std::clamp(value, -limit, limit));
}

int snapped(int zoom)
{
    return std::abs(zoom - 100) < zoomSnap ? 100 : zoom;
}

struct Coefficient
{
    int reset;
    int lowest;
    int highest;
    int (*stepped)(int value, bool up);
};

const Coefficient coefficients[coefficientCount] = {
    {100, 10, 1000,
     [](int value, bool up) {
         return truncated(up ? value * contrastStep : value / contrastStep);
     }},
    {0, -100, 100, [](int value, bool up) { return truncated(value + (up ? 20.0 : -20.0)); }},
    {50, 0, 100, [](int value, bool up) { return truncated(value + (up ? 10.0 : -10.0)); }},
    {100, 12, 800,
     [](int value, bool up) {
         return snapped(truncated(up ? value * zoomStep : value / zoomStep));
     }},
};

bool isCoefficient(int number)
{
    return number >= 0 && number < coefficientCount;
}

} // namespace

int steppedCoefficient(int number, int value, bool up)
{
    if (!isCoefficient(number))
        return 0;
    const Coefficient &coefficient = coefficients[number];
    return std::max(std::min(coefficient.stepped(value, up), coefficient.highest),
                    coefficient.lowest);
}

int resetCoefficient(int number)
{
    return isCoefficient(number) ? coefficients[number].reset : 0;
}

int lowestCoefficient(int number)
{
    return isCoefficient(number) ? coefficients[number].lowest : 0;
}

int highestCoefficient(int number)
{
    return isCoefficient(number) ? coefficients[number].highest : 0;
}
