#include "cameras/video/jpegframe.h"

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdio> // jpeglib.h does without, and needs it
#include <jpeglib.h>

#include <jerror.h>

namespace kivra::cameras {

namespace {

// What a frame is decoded to: its components as they are, or pixels in the first plane.
struct Decoded
{
    enum class Kind {
        Grey,
        Planes,
        Words,
    };
    struct Plane
    {
        std::vector<JSAMPLE> samples;
        std::size_t stride = 0;

        ByteRows rows() const { return {samples.data(), stride}; }
    };

    Kind kind = Kind::Grey;
    int shiftAcross = 0;
    int shiftDown = 0;
    std::array<Plane, 3> planes;
};

// The library reports an error by leaving through a function that must not return.
struct Errors
{
    jpeg_error_mgr base{};
    std::jmp_buf leave{};
    bool isCutTolerated = false;
};

[[noreturn]] void leave(j_common_ptr info)
{
    std::longjmp(reinterpret_cast<Errors *>(info->err)->leave, 1);
}

// Cameras put bytes before markers and forget the end; whether anything of the picture is missing,
// the entropy decoder finds by itself. With several scans it does not: a whole one may be missing.
void judge(j_common_ptr info, int level)
{
    if (level >= 0)
        return;
    switch (info->err->msg_code) {
    case JWRN_EXTRANEOUS_DATA:
    case JWRN_JFIF_MAJOR:
    case JWRN_ADOBE_XFORM:
        return;
    case JWRN_JPEG_EOF:
        if (reinterpret_cast<Errors *>(info->err)->isCutTolerated)
            return;
        break;
    default:
        break;
    }
    leave(info);
}

// A few bytes of a progressive file can ask for an hour of work.
void limitScans(j_common_ptr info)
{
    constexpr int most = 64;
    if (reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > most)
        leave(info);
}

// Chroma for 1, 2 or 4 luma samples: 0, 1 or 2; otherwise -1.
int shiftOf(int most, int factor)
{
    for (const int shift : {0, 1, 2}) {
        if (factor << shift == most)
            return shift;
    }
    return -1;
}

Decoded::Kind kindOf(const jpeg_decompress_struct &info, Decoded &to)
{
    if (info.jpeg_color_space == JCS_GRAYSCALE)
        return Decoded::Kind::Grey;
    if (info.jpeg_color_space != JCS_YCbCr || info.num_components != 3)
        return Decoded::Kind::Words;
    const jpeg_component_info &y = info.comp_info[0];
    const jpeg_component_info &u = info.comp_info[1];
    const jpeg_component_info &v = info.comp_info[2];
    to.shiftAcross = shiftOf(info.max_h_samp_factor, u.h_samp_factor);
    to.shiftDown = shiftOf(info.max_v_samp_factor, u.v_samp_factor);
    const bool arePlanes =
        y.h_samp_factor == info.max_h_samp_factor && y.v_samp_factor == info.max_v_samp_factor &&
        u.h_samp_factor == v.h_samp_factor && u.v_samp_factor == v.v_samp_factor &&
        to.shiftAcross >= 0 && to.shiftDown >= 0;
    return arePlanes ? Decoded::Kind::Planes : Decoded::Kind::Words;
}

std::size_t blocks(unsigned int count, int factor)
{
    return static_cast<std::size_t>(count) * static_cast<std::size_t>(factor) * DCTSIZE;
}

// Samples of whole blocks, beyond the picture's edges too.
void readPlanes(jpeg_decompress_struct &info, Decoded &to)
{
    constexpr std::size_t mostRows = std::size_t{MAX_SAMP_FACTOR} * DCTSIZE;
    std::array<std::array<JSAMPROW, mostRows>, 3> rows{};
    std::array<JSAMPARRAY, 3> components{};
    const unsigned int across =
        (info.image_width + static_cast<unsigned int>(info.max_h_samp_factor) * DCTSIZE - 1) /
        (static_cast<unsigned int>(info.max_h_samp_factor) * DCTSIZE);
    for (std::size_t i = 0; i < static_cast<std::size_t>(info.num_components); ++i) {
        const jpeg_component_info &component = info.comp_info[i];
        Decoded::Plane &plane = to.planes.at(i);
        plane.stride = blocks(across, component.h_samp_factor);
        plane.samples.resize(plane.stride * blocks(info.total_iMCU_rows, component.v_samp_factor));
        components.at(i) = rows.at(i).data();
    }
    const auto step = static_cast<unsigned int>(info.max_v_samp_factor) * DCTSIZE;
    for (unsigned int group = 0; group < info.total_iMCU_rows; ++group) {
        for (std::size_t i = 0; i < static_cast<std::size_t>(info.num_components); ++i) {
            Decoded::Plane &plane = to.planes.at(i);
            const std::size_t count = blocks(1, info.comp_info[i].v_samp_factor);
            for (std::size_t row = 0; row < count; ++row)
                rows.at(i).at(row) = plane.samples.data() + plane.stride * (count * group + row);
        }
        jpeg_read_raw_data(&info, components.data(), step);
    }
}

void readWords(jpeg_decompress_struct &info, Decoded &to)
{
    Decoded::Plane &plane = to.planes.front();
    plane.stride = std::size_t{4} * info.output_width;
    plane.samples.resize(plane.stride * info.output_height);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = plane.samples.data() + plane.stride * info.output_scanline;
        jpeg_read_scanlines(&info, &row, 1);
    }
}

void readPicture(jpeg_decompress_struct &info, Decoded &to)
{
    to.kind = kindOf(info, to);
    if (to.kind == Decoded::Kind::Words) {
        info.out_color_space = JCS_EXT_BGRX;
        info.do_fancy_upsampling = FALSE;
    } else {
        info.out_color_space = info.jpeg_color_space;
        info.raw_data_out = TRUE;
    }
    jpeg_start_decompress(&info);
    if (to.kind == Decoded::Kind::Words)
        readWords(info, to);
    else
        readPlanes(info, to);
}

class Decompressor
{
public:
    Decompressor()
    {
        info.err = jpeg_std_error(&errors.base);
        errors.base.error_exit = leave;
        errors.base.emit_message = judge;
        progress.progress_monitor = limitScans;
    }
    Decompressor(const Decompressor &) = delete;
    Decompressor &operator=(const Decompressor &) = delete;
    ~Decompressor() { jpeg_destroy_decompress(&info); }

    // No object with a destructor may live between here and the library's way out.
    bool read(const std::uint8_t *jpeg, std::size_t length, Size size, Decoded &to)
    {
        if (setjmp(errors.leave) != 0)
            return false;
        jpeg_create_decompress(&info);
        info.progress = &progress;
        jpeg_mem_src(&info, jpeg, length);
        jpeg_read_header(&info, TRUE);
        if (info.image_width != static_cast<unsigned int>(size.width) ||
            info.image_height != static_cast<unsigned int>(size.height))
            return false;
        errors.isCutTolerated = jpeg_has_multiple_scans(&info) == FALSE;
        readPicture(info, to);
        return true;
    }

private:
    jpeg_decompress_struct info{};
    jpeg_progress_mgr progress{};
    Errors errors;
};

} // namespace

struct JpegFrame::Memory
{
    Decoded decoded;
    YuvRows convert{Matrix::Bt601, Range::Full};
};

JpegFrame::JpegFrame()
    : memory(std::make_unique<Memory>())
{
}

JpegFrame::JpegFrame(JpegFrame &&) noexcept = default;
JpegFrame &JpegFrame::operator=(JpegFrame &&) noexcept = default;
JpegFrame::~JpegFrame() = default;

std::unique_ptr<FrameRows> JpegFrame::decode(const std::uint8_t *jpeg, std::size_t length,
                                             Size size)
{
    Decoded &decoded = memory->decoded;
    if (!Decompressor().read(jpeg, length, size, decoded))
        return nullptr;
    switch (decoded.kind) {
    case Decoded::Kind::Grey:
        return std::make_unique<GreyRows>(memory->convert, decoded.planes[0].rows());
    case Decoded::Kind::Planes:
        return std::make_unique<PlanarRows>(
            memory->convert,
            PlanarRows::Planes{decoded.planes[0].rows(), decoded.planes[1].rows(),
                               decoded.planes[2].rows(), decoded.shiftAcross, decoded.shiftDown});
    case Decoded::Kind::Words:
        break;
    }
    return std::make_unique<RgbRows>(ByteOrder::Bgrx, Range::Full, decoded.planes[0].rows());
}

} // namespace kivra::cameras
