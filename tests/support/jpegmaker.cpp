#include "tests/support/jpegmaker.h"

#include <cstdio> // jpeglib.h needs it but does not include it
#include <cstdlib>
#include <jpeglib.h>

namespace kivra::test {

namespace {

using Bytes = std::vector<std::uint8_t>;

int componentsOf(JpegRecipe::Colours colours)
{
    switch (colours) {
    case JpegRecipe::Colours::Grey:
        return 1;
    case JpegRecipe::Colours::Cmyk:
        return 4;
    default:
        return 3;
    }
}

void setColours(jpeg_compress_struct &info, JpegRecipe::Colours colours)
{
    info.input_components = componentsOf(colours);
    info.in_color_space = JCS_RGB;
    if (colours == JpegRecipe::Colours::Grey)
        info.in_color_space = JCS_GRAYSCALE;
    else if (colours == JpegRecipe::Colours::Cmyk)
        info.in_color_space = JCS_CMYK;
    jpeg_set_defaults(&info);
    if (colours == JpegRecipe::Colours::Rgb)
        jpeg_set_colorspace(&info, JCS_RGB);
}

std::vector<jpeg_scan_info> scanPerFrequency(int components)
{
    std::vector<jpeg_scan_info> scans{{components, {0, 1, 2, 3}, 0, 0, 0, 0}};
    for (int component = 0; component < components; ++component) {
        for (int frequency = 1; frequency < DCTSIZE2; ++frequency)
            scans.push_back({1, {component}, frequency, frequency, 0, 0});
    }
    return scans;
}

// Each component differs from the others, and neighbours from each other.
Bytes rowOf(const JpegRecipe &recipe, int y)
{
    const int components = componentsOf(recipe.colours);
    Bytes row;
    for (int x = 0; x < recipe.width; ++x) {
        for (int component = 0; component < components; ++component) {
            const int gradient = x * (3 + component) + y * (5 - component);
            const bool isEdge = (x / 5 + y / 7 + component) % 3 == 0;
            row.push_back(static_cast<std::uint8_t>(gradient + (isEdge ? 90 : 0) +
                                                    static_cast<int>(recipe.seed) * 17));
        }
    }
    return row;
}

// Calls \a found(place, length) for each segment before the first scan; returns where that scan
// begins.
template<typename Found>
std::size_t walk(const Bytes &jpeg, Found found)
{
    std::size_t at = 2;
    while (jpeg.at(at + 1) != 0xDA) {
        const std::size_t length = 2 + std::size_t{256} * jpeg.at(at + 2) + jpeg.at(at + 3);
        found(at, length);
        at += length;
    }
    return at;
}

} // namespace

Bytes jpegOf(const JpegRecipe &recipe)
{
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char *memory = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&info, &memory, &length);
    info.image_width = static_cast<JDIMENSION>(recipe.width);
    info.image_height = static_cast<JDIMENSION>(recipe.height);
    setColours(info, recipe.colours);
    jpeg_set_quality(&info, recipe.quality, TRUE);
    for (int i = 0; i < info.num_components && i < 3; ++i) {
        info.comp_info[i].h_samp_factor = recipe.sampling.at(static_cast<std::size_t>(i)).across;
        info.comp_info[i].v_samp_factor = recipe.sampling.at(static_cast<std::size_t>(i)).down;
    }
    info.restart_interval = recipe.restartInterval;
    if (recipe.isProgressive)
        jpeg_simple_progression(&info);
    const std::vector<jpeg_scan_info> scans = scanPerFrequency(info.num_components);
    if (recipe.hasScanPerFrequency) {
        info.scan_info = scans.data();
        info.num_scans = static_cast<int>(scans.size());
    }
    jpeg_start_compress(&info, TRUE);
    for (int y = 0; y < recipe.height; ++y) {
        Bytes row = rowOf(recipe, y);
        JSAMPROW pixels = row.data();
        jpeg_write_scanlines(&info, &pixels, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    Bytes jpeg(memory, memory + length);
    std::free(memory);
    return jpeg;
}

Bytes withoutHuffmanTables(const Bytes &jpeg)
{
    Bytes bare(jpeg.begin(), jpeg.begin() + 2);
    const auto at = [&](std::size_t place) {
        return jpeg.begin() + static_cast<std::ptrdiff_t>(place);
    };
    const std::size_t scan = walk(jpeg, [&](std::size_t place, std::size_t length) {
        if (jpeg.at(place + 1) != 0xC4)
            bare.insert(bare.end(), at(place), at(place + length));
    });
    bare.insert(bare.end(), at(scan), jpeg.end());
    return bare;
}

int segmentsOf(const Bytes &jpeg, int marker)
{
    int count = 0;
    walk(jpeg, [&](std::size_t place, std::size_t) { count += jpeg.at(place + 1) == marker; });
    return count;
}

} // namespace kivra::test
