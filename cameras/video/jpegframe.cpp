#include "cameras/video/jpegframe.h"

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdio> // jpeglib.h needs it and does not include it
#include <jpeglib.h>

#include <jerror.h>

namespace kivra::cameras {

namespace {

// The rows that the library decodes in one go, few enough for the cache: components as they are, or
// pixels in the first plane.
struct Group
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
    int rows = 0;
    int shiftAcross = 0;
    int shiftDown = 0;
    std::array<Plane, 3> planes;
};

// To report an error, the library calls a function that must not return.
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

// Cameras put bytes before markers and leave out the end marker. That is tolerated: if a part of
// the picture is missing, the entropy decoder finds it. It does not with several scans, because a
// whole one may be missing.
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

// The shift for chroma that stands for 1, 2 or 4 luma samples: 0, 1 or 2; otherwise -1.
int shiftOf(int most, int factor)
{
    for (const int shift : {0, 1, 2}) {
        if (factor << shift == most)
            return shift;
    }
    return -1;
}

Group::Kind kindOf(const jpeg_decompress_struct &info, Group &to)
{
    if (info.jpeg_color_space == JCS_GRAYSCALE)
        return Group::Kind::Grey;
    if (info.jpeg_color_space != JCS_YCbCr || info.num_components != 3)
        return Group::Kind::Words;
    const jpeg_component_info &y = info.comp_info[0];
    const jpeg_component_info &u = info.comp_info[1];
    const jpeg_component_info &v = info.comp_info[2];
    to.shiftAcross = shiftOf(info.max_h_samp_factor, u.h_samp_factor);
    to.shiftDown = shiftOf(info.max_v_samp_factor, u.v_samp_factor);
    const bool arePlanes =
        y.h_samp_factor == info.max_h_samp_factor && y.v_samp_factor == info.max_v_samp_factor &&
        u.h_samp_factor == v.h_samp_factor && u.v_samp_factor == v.v_samp_factor &&
        to.shiftAcross >= 0 && to.shiftDown >= 0;
    return arePlanes ? Group::Kind::Planes : Group::Kind::Words;
}

std::size_t samples(const jpeg_decompress_struct &info, std::size_t component)
{
    return static_cast<std::size_t>(info.comp_info[component].v_samp_factor) * DCTSIZE;
}

// The library writes whole blocks, beyond the picture's edges too.
void preparePlanes(jpeg_decompress_struct &info, Group &to)
{
    info.out_color_space = info.jpeg_color_space;
    info.raw_data_out = TRUE;
    const auto most = static_cast<unsigned int>(info.max_h_samp_factor) * DCTSIZE;
    const std::size_t across = (info.image_width + most - 1) / most;
    for (std::size_t i = 0; i < static_cast<std::size_t>(info.num_components); ++i) {
        Group::Plane &plane = to.planes.at(i);
        plane.stride = across * static_cast<std::size_t>(info.comp_info[i].h_samp_factor) * DCTSIZE;
        plane.samples.resize(plane.stride * samples(info, i));
    }
    to.rows = info.max_v_samp_factor * DCTSIZE;
}

void prepareWords(jpeg_decompress_struct &info, Group &to)
{
    info.out_color_space = JCS_EXT_BGRX;
    info.do_fancy_upsampling = FALSE;
    to.planes[0].stride = std::size_t{4} * info.image_width;
    to.planes[0].samples.resize(to.planes[0].stride);
    to.rows = 1;
}

void readPlanes(jpeg_decompress_struct &info, Group &to)
{
    constexpr std::size_t mostRows = std::size_t{MAX_SAMP_FACTOR} * DCTSIZE;
    std::array<std::array<JSAMPROW, mostRows>, 3> rows{};
    std::array<JSAMPARRAY, 3> components{};
    for (std::size_t i = 0; i < static_cast<std::size_t>(info.num_components); ++i) {
        Group::Plane &plane = to.planes.at(i);
        for (std::size_t row = 0; row < samples(info, i); ++row)
            rows.at(i).at(row) = plane.samples.data() + plane.stride * row;
        components.at(i) = rows.at(i).data();
    }
    jpeg_read_raw_data(&info, components.data(), static_cast<JDIMENSION>(to.rows));
}

void readWords(jpeg_decompress_struct &info, Group &to)
{
    JSAMPROW row = to.planes[0].samples.data();
    jpeg_read_scanlines(&info, &row, 1);
}

// The library may leave its functions by longjmp, so they must not hold an object with a
// destructor.
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

    // Prepares for the first group of rows.
    bool begin(const std::uint8_t *jpeg, std::size_t length, Size size, Group &to)
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
        to.kind = kindOf(info, to);
        if (to.kind == Group::Kind::Words)
            prepareWords(info, to);
        else
            preparePlanes(info, to);
        jpeg_start_decompress(&info);
        return true;
    }

    bool readNext(Group &to)
    {
        if (setjmp(errors.leave) != 0)
            return false;
        if (to.kind == Group::Kind::Words)
            readWords(info, to);
        else
            readPlanes(info, to);
        return true;
    }

private:
    jpeg_decompress_struct info{};
    jpeg_progress_mgr progress{};
    Errors errors;
};

std::unique_ptr<FrameRows> rowsOf(const Group &group, const YuvRows &convert)
{
    const auto &planes = group.planes;
    switch (group.kind) {
    case Group::Kind::Grey:
        return std::make_unique<GreyRows>(convert, planes[0].rows());
    case Group::Kind::Planes:
        return std::make_unique<PlanarRows>(
            convert, PlanarRows::Planes{planes[0].rows(), planes[1].rows(), planes[2].rows(),
                                        group.shiftAcross, group.shiftDown});
    case Group::Kind::Words:
        break;
    }
    return std::make_unique<RgbRows>(ByteOrder::Bgrx, Range::Full, planes[0].rows());
}

// Decodes a group when the first of its rows is read.
class JpegRows : public FrameRows
{
public:
    JpegRows(Group &memory, const YuvRows &conversion)
        : group(memory)
        , convert(conversion)
    {
    }

    bool begin(const std::uint8_t *jpeg, std::size_t length, Size size)
    {
        if (!decompressor.begin(jpeg, length, size, group))
            return false;
        inGroup = rowsOf(group, convert);
        first = -group.rows;
        return true;
    }

    void read(int y, int x, int n, std::uint32_t *to) override
    {
        while (isWhole && y >= first + group.rows) {
            isWhole = decompressor.readNext(group);
            first += group.rows;
        }
        if (isWhole)
            inGroup->read(y - first, x, n, to);
    }

    bool isGood() const override { return isWhole; }

private:
    Group &group;
    const YuvRows &convert;
    Decompressor decompressor;
    std::unique_ptr<FrameRows> inGroup;
    int first = 0; // the group's first row
    bool isWhole = true;
};

} // namespace

struct JpegFrame::Memory
{
    Group group;
    YuvRows convert{Matrix::Bt601, Range::Full};
};

JpegFrame::JpegFrame()
    : memory(std::make_unique<Memory>())
{
}

JpegFrame::~JpegFrame() = default;

std::unique_ptr<FrameRows> JpegFrame::decode(const std::uint8_t *jpeg, std::size_t length,
                                             Size size)
{
    auto rows = std::make_unique<JpegRows>(memory->group, memory->convert);
    if (!rows->begin(jpeg, length, size))
        return nullptr;
    return rows;
}

} // namespace kivra::cameras
