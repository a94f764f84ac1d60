#include "tests/reference/words.h"

#include "tests/reference/reference.h"

namespace kivra::reference {

cv::Mat colours(const QImage &picture)
{
    const int width = picture.width();
    cv::Mat matrix(picture.height(), width, CV_8UC3);
    for (int y = 0; y < picture.height(); ++y) {
        const auto *row = reinterpret_cast<const unsigned int *>(picture.constScanLine(y));
        for (int x = 0; x < width; ++x) {
            matrix.at<cv::Vec3b>(y, x) = cv::Vec3b(uchar(row[x] & 0xFF), uchar(row[x] >> 8 & 0xFF),
                                                   uchar(row[x] >> 16 & 0xFF));
        }
    }
    return matrix;
}

QImage fromColours(const QImage &picture, const cv::Mat &matrix)
{
    const int width = picture.width();
    QImage result = picture.copy();
    for (int y = 0; y < result.height(); ++y) {
        auto *row = reinterpret_cast<unsigned int *>(result.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const cv::Vec3b &bgr = matrix.at<cv::Vec3b>(y, x);
            row[x] = word(bgr[2], bgr[1], bgr[0]);
        }
    }
    return result;
}

QImage fromGrey(const QImage &picture, const cv::Mat &matrix)
{
    const int width = picture.width();
    QImage result = picture.copy();
    for (int y = 0; y < result.height(); ++y) {
        auto *row = reinterpret_cast<unsigned int *>(result.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const int grey = matrix.at<uchar>(y, x);
            row[x] = word(grey, grey, grey);
        }
    }
    return result;
}

} // namespace kivra::reference
