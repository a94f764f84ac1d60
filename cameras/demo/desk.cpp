#include "cameras/demo/desk.h"

#include "cameras/demo/scene.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kivra::cameras {

namespace {

/// A fixed random value from -1 to 1 for each point of the lattice.
double latticeValue(int x, int y)
{
    auto hash = static_cast<quint32>(x) * 374761393U + static_cast<quint32>(y) * 668265263U;
    hash = (hash ^ (hash >> 13)) * 1274126177U;
    hash ^= hash >> 16;
    return hash / 2147483648.0 - 1;
}

double smoothStep(double t)
{
    return t * t * (3 - 2 * t);
}

double mix(double a, double b, double t)
{
    return a + (b - a) * t;
}

/// Replaces each of \a count values, \a stride bytes apart, by the mean of the five around it;
/// values outside count as 0.
void blurLine(uchar *first, int count, qptrdiff stride, std::vector<uchar> &copy)
{
    copy.assign(static_cast<size_t>(count) + 5, 0);
    for (int i = 0; i < count; ++i)
        copy[static_cast<size_t>(i) + 2] = first[i * stride];
    int sum = copy[2] + copy[3];
    for (int i = 0; i < count; ++i) {
        const auto at = static_cast<size_t>(i);
        sum += copy[at + 4];
        first[i * stride] = static_cast<uchar>(sum / 5);
        sum -= copy[at];
    }
}

void blurMask(QImage &mask)
{
    std::vector<uchar> copy;
    for (int y = 0; y < mask.height(); ++y)
        blurLine(mask.scanLine(y), mask.width(), 1, copy);
    for (int x = 0; x < mask.width(); ++x)
        blurLine(mask.bits() + x, mask.height(), mask.bytesPerLine(), copy);
}

} // namespace

double smoothNoise(double x, double y)
{
    const double left = std::floor(x);
    const double top = std::floor(y);
    const int column = static_cast<int>(left);
    const int row = static_cast<int>(top);
    const double tx = smoothStep(x - left);
    const double ty = smoothStep(y - top);
    return mix(mix(latticeValue(column, row), latticeValue(column + 1, row), tx),
               mix(latticeValue(column, row + 1), latticeValue(column + 1, row + 1), tx), ty);
}

int toLevel(double value)
{
    return static_cast<int>(std::clamp(value, 0.0, 255.0));
}

void drawTable(QImage &picture, const QColor &colour, const std::atomic<bool> &abandoned)
{
    // Along the grain the wood changes slowly, so it is computed every few pixels and interpolated
    // between them.
    constexpr int stride = 8;
    const double unit = 1 / sceneScale(picture.size());
    const QPointF corner = sceneTransform(picture.size()).inverted().map(QPointF(0, 0));
    const auto gainAt = [&](int column, double y) {
        const double x = corner.x() + column * unit;
        const double wave = smoothNoise(x / 420, y / 60);
        const double fibre = smoothNoise(x / 95, y / 3.1 + 4 * wave);
        const double ring = smoothNoise(x / 600, y / 17 + 3 * wave);
        return 1 + 0.05 * fibre + 0.13 * ring;
    };
    for (int row = 0; row < picture.height() && !abandoned; ++row) {
        auto *pixels = reinterpret_cast<QRgb *>(picture.scanLine(row));
        const double y = corner.y() + row * unit;
        double next = gainAt(0, y);
        for (int left = 0; left < picture.width(); left += stride) {
            const double first = next;
            next = gainAt(left + stride, y);
            const int end = std::min(picture.width(), left + stride);
            for (int column = left; column < end; ++column) {
                const double gain = mix(first, next, (column - left) / double(stride));
                pixels[column] = qRgb(toLevel(colour.red() * gain), toLevel(colour.green() * gain),
                                      toLevel(colour.blue() * gain));
            }
        }
    }
}

void drawShadow(QPainter &painter, const QPainterPath &shape, double blur, double strength)
{
    // A soft shadow needs few pixels: draw it small, blur it there, and enlarge it smoothly.
    const double step = blur / 5;
    const QRectF area = shape.boundingRect().adjusted(-2 * blur, -2 * blur, 2 * blur, 2 * blur);
    const QSize size(static_cast<int>(area.width() / step) + 1,
                     static_cast<int>(area.height() / step) + 1);
    QImage mask(size, QImage::Format_Alpha8);
    mask.fill(Qt::transparent);
    QPainter small(&mask);
    small.setRenderHint(QPainter::Antialiasing);
    small.scale(1 / step, 1 / step);
    small.translate(-area.topLeft());
    small.fillPath(shape, Qt::black);
    small.end();
    blurMask(mask);
    blurMask(mask);

    QImage shadow(size, QImage::Format_ARGB32_Premultiplied);
    shadow.fill(QColor(20, 14, 8));
    QPainter cut(&shadow);
    cut.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    cut.drawImage(0, 0, mask);
    cut.end();
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setOpacity(strength);
    painter.drawImage(QRectF(area.topLeft(), QSizeF(size) * step), shadow);
    painter.restore();
}

void applyLight(QImage &picture, const LightField &light, const std::atomic<bool> &abandoned)
{
    constexpr int cell = 16;
    const QTransform toScene = sceneTransform(picture.size()).inverted();
    const int columns = picture.width() / cell + 2;
    const auto lightsOfRow = [&](int gridRow) {
        std::vector<double> lights(static_cast<size_t>(columns));
        for (size_t i = 0; i < lights.size(); ++i) {
            const QPointF point =
                toScene.map(QPointF(static_cast<double>(i) * cell, gridRow * cell));
            lights[i] = light(point.x(), point.y());
        }
        return lights;
    };
    std::vector<double> above;
    std::vector<double> below = lightsOfRow(0);
    for (int y = 0; y < picture.height() && !abandoned; ++y) {
        if (y % cell == 0) {
            above.swap(below);
            below = lightsOfRow(y / cell + 1);
        }
        const double down = static_cast<double>(y % cell) / cell;
        auto *pixels = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            const auto i = static_cast<size_t>(x / cell);
            const double across = static_cast<double>(x % cell) / cell;
            const double gain =
                mix(mix(above[i], above[i + 1], across), mix(below[i], below[i + 1], across), down);
            const QRgb pixel = pixels[x];
            pixels[x] = qRgb(toLevel(qRed(pixel) * gain), toLevel(qGreen(pixel) * gain),
                             toLevel(qBlue(pixel) * gain));
        }
    }
}

} // namespace kivra::cameras
