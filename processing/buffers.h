#pragma once

#include <QImage>
#include <opencv2/core/mat.hpp>

// The working matrices of the in-place operations and the ways between QImage and cv::Mat.
//
// The matrices are shared and unguarded: the whole library is used from one thread.

/// Colour copy of the picture being processed: CV_8UC3, blue, green, red; picture height x width.
extern cv::Mat _src;
/// Its grey version, also a scratch picture: CV_8UC1, same size.
extern cv::Mat _src_gray;
/// Single-channel result of a threshold: CV_8UC1, same size.
extern cv::Mat _dst;

/// Makes the three matrices \a height x \a width. Does nothing when _src has this size already;
/// otherwise all three are made anew, _dst filled with zeros. Negative sizes count as 0. Without
/// memory for them all three are empty.
void checkBuffers(int width, int height);

/// A new matrix of the picture's height and width with its blue, green and red in channels 0, 1, 2.
/// \a type is CV_8UC3 or CV_8UC4, whose channel 3 is 255; a matrix of any other type comes back
/// filled with zeros. Pictures of other than 32 bits a pixel are converted. Empty for an empty
/// picture, and where there is no memory for it.
cv::Mat qimage_to_mat_cpy(const QImage &image, int type);

/// A matrix header of \a type over the picture's own pixels, which are detached from other holders
/// first. The picture must outlive the header, and an element of \a type must not be larger than a
/// pixel. An empty picture gives an empty matrix.
cv::Mat qimage_to_mat_ref(QImage &image, int type);

/// A picture of \a format over the matrix's own data, which must outlive it; rows must start at
/// multiples of 4 bytes. Null for an empty matrix.
QImage mat_to_qimage_ref(cv::Mat &mat, QImage::Format format);

/// A deep copy of what mat_to_qimage_ref() gives.
QImage mat_to_qimage_cpy(const cv::Mat &mat, QImage::Format format);
