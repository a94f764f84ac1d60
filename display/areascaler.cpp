#include "display/areascaler.h"

#include "render/kernels/kernels.h"
#include "render/parallel.h"
#include "render/pixels.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

namespace kivra {

namespace {

constexpr int channelCount = 4;

// Truncates, and clamps to a range in which sums still fit into an int.
int toInteger(double value)
{
    constexpr double limit = 1 << 29;
    return static_cast<int>(std::clamp(value, -limit, limit));
}

int rounded(double value)
{
    return toInteger(std::floor(value + 0.5));
}

// Along one axis: the picture's pixels that a pixel of the result covers, the first, those between
// and the last, and the weight of each. The weights add up to 1.
struct Cover
{
    int first;
    int whole; // how many lie between them
    float firstWeight;
    float wholeWeight;
    float lastWeight; // 0 if the last one may be outside the picture

    int count() const { return 1 + whole + (lastWeight > 0.0F ? 1 : 0); }
};

Cover coverOf(int pixel, double origin, double scale, int size)
{
    const auto toPicture = [&](int edge) {
        return std::clamp((edge - origin) / scale, 0.0, static_cast<double>(size));
    };
    const double begin = toPicture(pixel);
    const double end = toPicture(pixel + 1);
    const int first = std::min(static_cast<int>(begin), size - 1);
    const int last = static_cast<int>(end);
    if (last <= first)
        return {first, 0, 1.0F, 0.0F, 0.0F};
    const double share = 1.0 / (end - begin);
    return {first, last - first - 1, static_cast<float>((first + 1 - begin) * share),
            static_cast<float>(share), static_cast<float>((end - last) * share)};
}

// The weights of the columns, for all rows.
struct Columns
{
    int begin; // of the covered columns of the picture
    int end;
    int taps;
    std::vector<int> firsts; // counted from begin
    std::vector<float> weights;

    Columns(const QRect &wanted, const ScaledPlace &place, int width)
        : taps(1)
    {
        std::vector<Cover> covers;
        for (int x = wanted.left(); x <= wanted.right(); ++x) {
            covers.push_back(coverOf(x, place.origin.x(), place.scale, width));
            taps = std::max(taps, covers.back().count());
        }
        begin = covers.front().first;
        end = covers.back().first + covers.back().count();
        for (const Cover &cover : covers)
            add(cover);
    }

private:
    void add(const Cover &cover)
    {
        firsts.push_back(cover.first - begin);
        const std::size_t at = weights.size();
        weights.resize(at + static_cast<std::size_t>(taps), 0.0F);
        float *const own = weights.data() + at;
        std::fill_n(own + 1, cover.whole, cover.wholeWeight);
        own[0] = cover.firstWeight;
        if (cover.lastWeight > 0.0F)
            own[cover.whole + 1] = cover.lastWeight;
    }
};

// Weighted sums, down these columns, of the rows that a row of the result covers.
class RowSums
{
public:
    RowSums(const ConstPixels &allPixels, const Columns &columns)
        : picture(allPixels)
        , begin(columns.begin)
        , width(columns.end - columns.begin)
        , count(static_cast<std::size_t>(width) * channelCount)
        , scratch(count)
        // The kernel reads past the last column with weight 0, so there must be numbers.
        , sums(count + static_cast<std::size_t>(columns.taps) * channelCount)
    {
    }

    const float *of(const Cover &rows)
    {
        int whole = std::min(rows.whole, mostWholeRows);
        bool isLast = whole == rows.whole;
        weigh(rows.first, {whole, rows.firstWeight, rows.wholeWeight, isLast ? rows.lastWeight : 0},
              sums);
        // At most mostWholeRows at a time: their 16-bit sums overflow beyond.
        for (int done = 1 + whole; !isLast; done += 1 + whole) {
            whole = std::min(rows.whole - done, mostWholeRows);
            isLast = done + whole == rows.whole;
            more.resize(count);
            weigh(rows.first + done,
                  {whole, rows.wholeWeight, rows.wholeWeight, isLast ? rows.lastWeight : 0}, more);
            std::transform(more.begin(), more.end(), sums.begin(), sums.begin(), std::plus<>());
        }
        return sums.data();
    }

private:
    void weigh(int row, const RowWeights &weights, std::vector<float> &to)
    {
        kernels().weighRows(picture.row(row) + begin, picture.bytesPerLine, weights, scratch.data(),
                            to.data(), width);
    }

    const ConstPixels &picture;
    int begin;
    int width;
    std::size_t count;
    std::vector<std::uint16_t> scratch;
    std::vector<float> sums;
    std::vector<float> more;
};

// Writes to \a lines, which points to the place of the first pixel wanted.
void writeMeans(const QImage &picture, const ScaledPlace &place, const QRect &wanted, uchar *lines,
                int bytesPerLine)
{
    const ConstPixels source{reinterpret_cast<const Pixel *>(picture.constBits()), picture.width(),
                             picture.height(), picture.bytesPerLine()};
    const Columns columns(wanted, place, picture.width());
    const ColumnWeights weights{columns.firsts.data(), columns.weights.data(), columns.taps};
    forBands(allThreads(), std::max(columns.end - columns.begin, wanted.width()), wanted.height(),
             [&](Span band) {
                 RowSums sums(source, columns);
                 for (int y = band.begin; y < band.end; ++y) {
                     const Cover rows =
                         coverOf(wanted.top() + y, place.origin.y(), place.scale, picture.height());
                     auto *const line =
                         reinterpret_cast<Pixel *>(lines + qsizetype(y) * bytesPerLine);
                     kernels().weighColumns(sums.of(rows), weights, line, wanted.width());
                 }
             });
}

} // namespace

QRect pixelsFilled(const QSize &picture, const ScaledPlace &place)
{
    const QPointF far = place.origin + QPointF(picture.width(), picture.height()) * place.scale;
    const QPoint begin(rounded(place.origin.x()), rounded(place.origin.y()));
    const QPoint end(rounded(far.x()), rounded(far.y()));
    return {begin, end - QPoint(1, 1)};
}

QImage scaledByArea(const QImage &picture, const ScaledPlace &place, const QRect &wanted)
{
    if (picture.isNull() || wanted.isEmpty())
        return {};
    QImage scaled(wanted.size(), picture.format());
    if (!scaled.isNull())
        writeMeans(picture, place, wanted, scaled.bits(), scaled.bytesPerLine());
    return scaled;
}

void drawByArea(const QImage &picture, const ScaledPlace &place, const QRect &wanted, QImage &grid)
{
    if (picture.isNull() || wanted.isEmpty())
        return;
    const int bytesPerLine = grid.bytesPerLine();
    writeMeans(picture, place, wanted,
               grid.bits() + qsizetype(wanted.top()) * bytesPerLine +
                   qsizetype(wanted.left()) * qsizetype(sizeof(Pixel)),
               bytesPerLine);
}

} // namespace kivra
