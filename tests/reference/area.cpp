#include "tests/reference/reference.h"

#include <algorithm>
#include <cmath>

namespace kivra::reference {

namespace {

// How much of the unit interval from \a place on lies between these limits.
double overlap(int place, double begin, double end)
{
    return std::max(0.0, std::min(place + 1.0, end) - std::max(double(place), begin));
}

} // namespace

QImage areaMean(const QImage &picture, const QPointF &origin, double scale, const QRect &wanted)
{
    QImage result(wanted.size(), picture.format());
    for (int y = 0; y < result.height(); ++y) {
        const double top = (wanted.top() + y - origin.y()) / scale;
        const double bottom = (wanted.top() + y + 1 - origin.y()) / scale;
        const int firstRow = std::max(0, int(std::floor(top)));
        const int lastRow = std::min(picture.height() - 1, int(std::floor(bottom)));
        for (int x = 0; x < result.width(); ++x) {
            const double left = (wanted.left() + x - origin.x()) / scale;
            const double right = (wanted.left() + x + 1 - origin.x()) / scale;
            const int firstColumn = std::max(0, int(std::floor(left)));
            const int lastColumn = std::min(picture.width() - 1, int(std::floor(right)));
            double area = 0;
            std::array<double, 4> sums{};
            for (int row = firstRow; row <= lastRow; ++row) {
                const auto *words = reinterpret_cast<const QRgb *>(picture.constScanLine(row));
                for (int column = firstColumn; column <= lastColumn; ++column) {
                    const double part = overlap(row, top, bottom) * overlap(column, left, right);
                    area += part;
                    for (unsigned int channel = 0; channel < sums.size(); ++channel)
                        sums[channel] += part * (words[column] >> (8 * channel) & 0xffU);
                }
            }
            QRgb word = 0;
            for (unsigned int channel = 0; channel < sums.size(); ++channel)
                word |= QRgb(std::lround(sums[channel] / area)) << (8 * channel);
            reinterpret_cast<QRgb *>(result.scanLine(y))[x] = word;
        }
    }
    return result;
}

} // namespace kivra::reference
