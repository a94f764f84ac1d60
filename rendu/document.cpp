#include "rendu/document.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <hpdf.h>

namespace kivra::rendu {

namespace {

constexpr float pointsPerMm = 72.0F / 25.4F;
constexpr float margin = 10 * pointsPerMm;

struct Place
{
    float left;
    float bottom;
    float width;
    float height;
};

Place placeOn(HPDF_Page page, const QSize &picture)
{
    const float width = HPDF_Page_GetWidth(page);
    const float height = HPDF_Page_GetHeight(page);
    const float scale = std::min((width - 2 * margin) / float(picture.width()),
                                 (height - 2 * margin) / float(picture.height()));
    const float across = float(picture.width()) * scale;
    const float up = float(picture.height()) * scale;
    return {(width - across) / 2, (height - up) / 2, across, up};
}

void draw(HPDF_Page page, HPDF_Image image, const Place &place)
{
    HPDF_Page_DrawImage(page, image, place.left, place.bottom, place.width, place.height);
}

void fill(HPDF_Page page, QRgb colour, const Place &place)
{
    const auto share = [](int level) { return float(level) / 255.0F; };
    HPDF_Page_SetRGBFill(page, share(qRed(colour)), share(qGreen(colour)), share(qBlue(colour)));
    HPDF_Page_Rectangle(page, place.left, place.bottom, place.width, place.height);
    HPDF_Page_Fill(page);
}

HPDF_Image imageOfBits(HPDF_Doc document, const QImage &bits)
{
    return HPDF_Image_LoadRaw1BitImageFromMem(
        document, bits.constBits(), HPDF_UINT(bits.width()), HPDF_UINT(bits.height()),
        HPDF_UINT(bits.bytesPerLine()), HPDF_FALSE, HPDF_TRUE);
}

// Bits in other colours than black on white: fills the place with the light colour, then draws a
// plain picture of the dark colour with the bits as its mask.
void drawBits(HPDF_Doc document, HPDF_Page page, const QImage &bits, const Place &place)
{
    const QRgb light = bits.color(0);
    const QRgb dark = bits.color(1);
    const HPDF_Image image = imageOfBits(document, bits);
    if (light == qRgb(255, 255, 255) && dark == qRgb(0, 0, 0)) {
        draw(page, image, place);
        return;
    }
    const HPDF_BYTE pixel[] = {HPDF_BYTE(qRed(dark)), HPDF_BYTE(qGreen(dark)),
                               HPDF_BYTE(qBlue(dark))};
    const HPDF_Image plain = HPDF_LoadRawImageFromMem(document, pixel, 1, 1, HPDF_CS_DEVICE_RGB, 8);
    fill(page, light, place);
    HPDF_Image_SetMaskImage(plain, image);
    draw(page, plain, place);
}

// The library does not report whether the last bytes were written when it closed the file.
bool isComplete(QFile &file)
{
    const QByteArray end("%%EOF\n");
    return file.size() > end.size() && file.seek(file.size() - end.size()) && file.readAll() == end;
}

} // namespace

struct Document::Parts
{
    Parts()
        : document(HPDF_New(nullptr, nullptr))
    {
        if (!document)
            return;
        // Without it, pages of bits lack the name of their compression.
        HPDF_SetCompressionMode(document, HPDF_COMP_IMAGE);
        HPDF_SetInfoAttr(document, HPDF_INFO_CREATOR, "Kivra " KIVRA_VERSION);
    }
    ~Parts() { HPDF_Free(document); }
    Parts(const Parts &) = delete;
    Parts &operator=(const Parts &) = delete;

    bool isWell() const { return document && HPDF_GetError(document) == HPDF_OK; }

    HPDF_Doc document;
};

Document::Document()
    : parts(std::make_unique<Parts>())
{
}

Document::~Document() = default;

bool Document::add(const Page &page)
{
    // After an error the library's functions do nothing.
    const HPDF_Doc document = parts->document;
    const HPDF_Page sheet = HPDF_AddPage(document);
    const bool isAcross = page.size.width() > page.size.height();
    HPDF_Page_SetSize(sheet, HPDF_PAGE_SIZE_A4,
                      isAcross ? HPDF_PAGE_LANDSCAPE : HPDF_PAGE_PORTRAIT);
    const Place place = placeOn(sheet, page.size);
    if (page.bits.isNull()) {
        const auto *const bytes = reinterpret_cast<const HPDF_BYTE *>(page.jpeg.constData());
        draw(sheet, HPDF_LoadJpegImageFromMem(document, bytes, HPDF_UINT(page.jpeg.size())), place);
    } else {
        drawBits(document, sheet, page.bits, place);
    }
    return parts->isWell();
}

int Document::save(const QString &path, Existing existing, const QByteArray &end) const
{
    return makeWholeFile(path, existing, [&](QFile &file) {
        const QByteArray name = QFile::encodeName(file.fileName());
        errno = 0;
        if (HPDF_SaveToFile(parts->document, name.constData()) != HPDF_OK)
            return false;
        return isComplete(file) && file.seek(file.size()) && file.write(end) == end.size();
    });
}

} // namespace kivra::rendu
