#include "cameras/video/capture.h"

#include "cameras/video/kernel.h"
#include "cameras/video/offers.h"

#include <algorithm>
#include <cerrno>

namespace kivra::cameras {

namespace {

// Two that are being decoded, the newest, and three for the driver to fill.
constexpr std::uint32_t wantedBuffers = 6;
constexpr std::uint32_t mostBuffers = 32;
// The largest frame has 64 million pixels of four bytes.
constexpr std::size_t largestBuffer = std::size_t(256) << 20;
constexpr Rate assumedRate{30, 1};
constexpr double slowestRate = 0.1;
constexpr double fastestRate = 1000;

/// A v4l2_buffer with room for its planes.
struct BufferAnswer
{
    explicit BufferAnswer(bool multiPlanar, std::uint32_t index = 0)
    {
        buffer.type = bufferType(multiPlanar);
        buffer.memory = V4L2_MEMORY_MMAP;
        buffer.index = index;
        if (multiPlanar) {
            buffer.m.planes = planes;
            buffer.length = VIDEO_MAX_PLANES;
        }
    }

    v4l2_buffer buffer = {};
    v4l2_plane planes[VIDEO_MAX_PLANES] = {};
};

bool isRgb(std::uint32_t fourcc)
{
    switch (fourcc) {
    case V4L2_PIX_FMT_RGB24:
    case V4L2_PIX_FMT_BGR24:
    case V4L2_PIX_FMT_BGR32:
    case V4L2_PIX_FMT_ABGR32:
    case V4L2_PIX_FMT_XBGR32:
    case V4L2_PIX_FMT_BGRA32:
    case V4L2_PIX_FMT_BGRX32:
    case V4L2_PIX_FMT_RGB32:
    case V4L2_PIX_FMT_RGBA32:
    case V4L2_PIX_FMT_RGBX32:
    case V4L2_PIX_FMT_ARGB32:
    case V4L2_PIX_FMT_XRGB32:
        return true;
    default:
        return false;
    }
}

/// Matrix and range; V4L2's defaults for what the driver does not say.
void setColours(FrameFormat &format, std::uint32_t colorspace, std::uint32_t encoding,
                std::uint32_t quantization)
{
    if (encoding == V4L2_YCBCR_ENC_DEFAULT)
        encoding = V4L2_MAP_YCBCR_ENC_DEFAULT(colorspace);
    // Grey is treated like RGB: the kernel's virtual camera and infrared cameras use the full range
    // for it.
    const bool isFull = isRgb(format.fourcc) || format.fourcc == V4L2_PIX_FMT_GREY;
    if (quantization == V4L2_QUANTIZATION_DEFAULT)
        quantization = V4L2_MAP_QUANTIZATION_DEFAULT(isFull, colorspace, encoding);
    format.range = quantization == V4L2_QUANTIZATION_FULL_RANGE ? Range::Full : Range::Limited;
    switch (encoding) {
    case V4L2_YCBCR_ENC_709:
    case V4L2_YCBCR_ENC_XV709:
    case V4L2_YCBCR_ENC_SMPTE240M:
        format.matrix = Matrix::Bt709;
        break;
    case V4L2_YCBCR_ENC_BT2020:
    case V4L2_YCBCR_ENC_BT2020_CONST_LUM:
        format.matrix = Matrix::Bt2020;
        break;
    default:
        format.matrix = Matrix::Bt601;
        break;
    }
}

Size sizeOf(std::uint32_t width, std::uint32_t height)
{
    // Clamped into an int; isPossible() refuses such a size.
    return {int(std::min(width, 1u << 30)), int(std::min(height, 1u << 30))};
}

FrameFormat formatOf(const v4l2_pix_format &answer)
{
    FrameFormat format;
    format.fourcc = answer.pixelformat;
    format.size = sizeOf(answer.width, answer.height);
    format.planeCount = 1;
    format.planes[0] = {answer.bytesperline, answer.sizeimage};
    setColours(format, answer.colorspace, answer.ycbcr_enc, answer.quantization);
    return format;
}

FrameFormat formatOf(const v4l2_pix_format_mplane &answer)
{
    FrameFormat format;
    format.fourcc = answer.pixelformat;
    format.size = sizeOf(answer.width, answer.height);
    format.planeCount = answer.num_planes;
    for (std::size_t i = 0; i < format.planes.size() && i < answer.num_planes; ++i)
        format.planes[i] = {answer.plane_fmt[i].bytesperline, answer.plane_fmt[i].sizeimage};
    setColours(format, answer.colorspace, answer.ycbcr_enc, answer.quantization);
    return format;
}

} // namespace

Capture::Capture(Node &streamed)
    : node(streamed)
{
}

Capture::~Capture()
{
    end();
}

Fault Capture::fail(int error)
{
    lastError = error;
    lastFault = faultOf(error);
    return lastFault;
}

Fault Capture::fail(Fault fault)
{
    lastError = 0;
    lastFault = fault;
    return fault;
}

Fault Capture::begin(const Offer &offer)
{
    multiPlanar = offer.multiPlanar;
    if (setFormat(offer) != Fault::None)
        return lastFault;
    setRate(offer);
    if (allocate() != Fault::None) {
        release();
        return lastFault;
    }
    int type = int(bufferType(multiPlanar));
    const int refusal = node.control(VIDIOC_STREAMON, &type);
    if (refusal != 0) {
        release();
        return fail(refusal);
    }
    streaming = true;
    return fail(Fault::None);
}

Fault Capture::setFormat(const Offer &offer)
{
    v4l2_format format = {};
    format.type = bufferType(multiPlanar);
    if (multiPlanar) {
        format.fmt.pix_mp.width = std::uint32_t(offer.size.width);
        format.fmt.pix_mp.height = std::uint32_t(offer.size.height);
        format.fmt.pix_mp.pixelformat = offer.fourcc;
        format.fmt.pix_mp.field = V4L2_FIELD_ANY;
    } else {
        format.fmt.pix.width = std::uint32_t(offer.size.width);
        format.fmt.pix.height = std::uint32_t(offer.size.height);
        format.fmt.pix.pixelformat = offer.fourcc;
        format.fmt.pix.field = V4L2_FIELD_ANY;
    }
    const int refusal = node.control(VIDIOC_S_FMT, &format);
    if (refusal != 0)
        return fail(refusal);
    current = multiPlanar ? formatOf(format.fmt.pix_mp) : formatOf(format.fmt.pix);
    return fail(isPossible(current) ? Fault::None : Fault::Nonsense);
}

/// If the driver cannot set the rate, or answers an impossible one, the offered rate is assumed.
void Capture::setRate(const Offer &offer)
{
    rate = offer.rate.isKnown() ? offer.rate : assumedRate;
    v4l2_streamparm parameters = {};
    parameters.type = bufferType(multiPlanar);
    parameters.parm.capture.timeperframe = {rate.seconds, rate.frames};
    if (node.control(VIDIOC_S_PARM, &parameters) != 0)
        return;
    const v4l2_fract &interval = parameters.parm.capture.timeperframe;
    const Rate answered{interval.denominator, interval.numerator};
    if (answered.perSecond() >= slowestRate && answered.perSecond() <= fastestRate)
        rate = answered;
}

std::chrono::nanoseconds Capture::interval() const
{
    const std::chrono::duration<double> seconds(1 / rate.perSecond());
    return std::chrono::duration_cast<std::chrono::nanoseconds>(seconds);
}

Fault Capture::allocate()
{
    v4l2_requestbuffers request = {};
    request.type = bufferType(multiPlanar);
    request.memory = V4L2_MEMORY_MMAP;
    request.count = wantedBuffers;
    const int refusal = node.control(VIDIOC_REQBUFS, &request);
    if (refusal != 0)
        return fail(refusal);
    allocated = true;
    if (request.count == 0 || request.count > mostBuffers)
        return fail(Fault::Nonsense);
    for (std::uint32_t index = 0; index < request.count; ++index) {
        if (mapBuffer(index) != Fault::None)
            return lastFault;
    }
    for (std::uint32_t index = 0; index < request.count; ++index) {
        BufferAnswer answer(multiPlanar, index);
        const int notQueued = node.control(VIDIOC_QBUF, &answer.buffer);
        if (notQueued != 0)
            return fail(notQueued);
    }
    return fail(Fault::None);
}

Fault Capture::mapBuffer(std::uint32_t index)
{
    BufferAnswer answer(multiPlanar, index);
    const int refusal = node.control(VIDIOC_QUERYBUF, &answer.buffer);
    if (refusal != 0)
        return fail(refusal);
    if (multiPlanar && answer.buffer.length < std::uint32_t(current.planeCount))
        return fail(Fault::Nonsense);
    Buffer &buffer = buffers.emplace_back();
    for (std::size_t i = 0; i < std::size_t(current.planeCount); ++i) {
        const std::size_t length = multiPlanar ? answer.planes[i].length : answer.buffer.length;
        const std::uint32_t offset =
            multiPlanar ? answer.planes[i].m.mem_offset : answer.buffer.m.offset;
        if (length == 0 || length > largestBuffer)
            return fail(Fault::Nonsense);
        void *const memory = node.map(length, offset);
        if (!memory)
            return fail(ENOMEM);
        buffer.planes[i] = {memory, length};
    }
    return fail(Fault::None);
}

void Capture::end()
{
    if (streaming) {
        int type = int(bufferType(multiPlanar));
        node.control(VIDIOC_STREAMOFF, &type);
        streaming = false;
    }
    release();
}

void Capture::release()
{
    for (const Buffer &buffer : buffers) {
        for (const Plane &plane : buffer.planes) {
            if (plane.memory)
                node.unmap(plane.memory, plane.length);
        }
    }
    buffers.clear();
    if (!allocated)
        return;
    allocated = false;
    v4l2_requestbuffers request = {};
    request.type = bufferType(multiPlanar);
    request.memory = V4L2_MEMORY_MMAP;
    node.control(VIDIOC_REQBUFS, &request);
}

Capture::Next Capture::dequeue(CapturedFrame &frame)
{
    BufferAnswer answer(multiPlanar);
    const int refusal = node.control(VIDIOC_DQBUF, &answer.buffer);
    if (refusal == EAGAIN)
        return Next::None;
    if (refusal != 0) {
        fail(refusal);
        return Next::Failed;
    }
    const v4l2_buffer &buffer = answer.buffer;
    if (buffer.index >= buffers.size()) {
        fail(Fault::Nonsense);
        return Next::Failed;
    }
    frame.buffer = int(buffer.index);
    if ((buffer.flags & V4L2_BUF_FLAG_ERROR) != 0 || !take(&answer, frame)) {
        giveBack(frame.buffer);
        return Next::Skipped;
    }
    return Next::Frame;
}

/// Finds the content of a dequeued buffer; false if it has none.
bool Capture::take(const void *answered, CapturedFrame &frame) const
{
    const auto &answer = *static_cast<const BufferAnswer *>(answered);
    const Buffer &buffer = buffers[std::size_t(frame.buffer)];
    frame.frame = {};
    for (std::size_t i = 0; i < std::size_t(current.planeCount); ++i) {
        const std::size_t used = multiPlanar ? answer.planes[i].bytesused : answer.buffer.bytesused;
        const std::size_t skipped = multiPlanar ? answer.planes[i].data_offset : 0;
        const std::size_t there = std::min(used, buffer.planes[i].length);
        if (there <= skipped)
            return false;
        frame.frame.planes[i] =
            static_cast<const std::uint8_t *>(buffer.planes[i].memory) + skipped;
        frame.frame.lengths[i] = there - skipped;
    }
    return true;
}

// If the driver does not take a buffer back, it is lost. When all are lost, no frame comes, and the
// wait for one times out.
void Capture::giveBack(int buffer)
{
    BufferAnswer answer(multiPlanar, std::uint32_t(buffer));
    node.control(VIDIOC_QBUF, &answer.buffer);
}

} // namespace kivra::cameras
