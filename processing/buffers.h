#pragma once

#include <QImage>
#include <opencv2/core/mat.hpp>

// The working matrices of the in-place operations, and conversions between QImage and cv::Mat.
//
// The matrices are shared and not locked: use the whole library from one thread.

/// Colour copy of the picture being processed: CV_8UC3, blue, green, red; picture height x width.
extern cv::Mat _src;
/// Its grey version, also a scratch picture: CV_8UC1, same size.
extern cv::Mat _src_gray;
/// Single-channel result of a threshold: CV_8UC1, same size.
extern cv::Mat _dst;

/// Makes the three matrices \a height x \a width. Does nothing when _src already has this size;
/// otherwise makes all three anew and fills _dst with zeros. Negative sizes count as 0. If there is
/// no memory for them, all three are empty.
void checkBuffers(int width, int height);

/// A new matrix of the picture's height and width with its blue, green and red in channels 0, 1, 2.
/// \a type is CV_8UC3, or CV_8UC4 with 255 in channel 3; a matrix of any other type comes back
/// filled with zeros. A picture of another format than Format_RGB32 and Format_ARGB32 is converted
/// first. Empty for an empty picture, or if there is no memory for the matrix.
cv::Mat qimage_to_mat_cpy(const QImage &image, int type);

/// A matrix header of \a type over the picture's own pixels; the picture is first detached from
/// other holders. The picture must outlive the header, and an element of \a type must not be larger
/// than a pixel. An empty picture gives an empty matrix.
cv::Mat qimage_to_mat_ref(QImage &image, int type);

/// A picture of \a format over the matrix's own data. The matrix must outlive the picture; its rows
/// must start at multiples of 4 bytes. Null for an empty matrix.
QImage mat_to_qimage_ref(cv::Mat &mat, QImage::Format format);

/// A deep copy of what mat_to_qimage_ref() gives.
QImage mat_to_qimage_cpy(const cv::Mat &mat, QImage::Format format);
