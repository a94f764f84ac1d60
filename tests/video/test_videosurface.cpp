#include "tests/support/driverbuffer.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"
#include "video/videosurface.h"

#include <QAbstractPlanarVideoBuffer>
#include <QSignalSpy>
#include <QVideoSurfaceFormat>
#include <cstring>
#include <limits>

using kivra::test::DriverBuffer;
using kivra::test::gradient;

namespace {

constexpr int trailer = 32;

QVideoFrame frameOver(const QByteArray &memory, const QSize &size, bool mappable = true)
{
    return QVideoFrame(new DriverBuffer(memory, memory.size(), size.width() * 4, mappable), size,
                       QVideoFrame::Format_RGB32);
}

// A frame whose sender shares a picture; its memory has other content.
QVideoFrame sharingFrame(const QImage &picture, const QSize &size, bool mappable = true,
                         QAbstractVideoBuffer::HandleType kind = QAbstractVideoBuffer::NoHandle)
{
    class SharingBuffer : public DriverBuffer
    {
    public:
        SharingBuffer(QImage picture, const QSize &size, bool canBeMapped, HandleType kind)
            : DriverBuffer(QByteArray(size.width() * size.height() * 4, '\x55'),
                           size.width() * size.height() * 4, size.width() * 4, canBeMapped)
            , shared(std::move(picture))
        {
            m_type = kind;
        }
        QVariant handle() const override { return shared; }

    private:
        const QImage shared;
    };
    return QVideoFrame(new SharingBuffer(picture, size, mappable, kind), size,
                       QVideoFrame::Format_RGB32);
}

QByteArray bytesOf(const QImage &picture)
{
    return QByteArray(reinterpret_cast<const char *>(picture.constBits()),
                      int(picture.sizeInBytes()));
}

// What the surface must hold: the block's words up to its last 32 bytes. The rest repeats the last
// of them in a whole frame, and is black otherwise.
QImage wordsThenRest(const QByteArray &memory, const QSize &size)
{
    QImage picture(size, QImage::Format_RGB32);
    const int words = std::max(0, (memory.size() - trailer) / 4);
    const auto wordAt = [&](int i) {
        QRgb word = 0;
        std::memcpy(&word, memory.constData() + qsizetype(i) * 4, 4);
        return word;
    };
    const bool isWhole = memory.size() >= size.width() * size.height() * 4 && words > 0;
    const QRgb rest = isWhole ? wordAt(words - 1) : 0xff000000;
    for (int i = 0; i < size.width() * size.height(); ++i) {
        auto *const row = reinterpret_cast<QRgb *>(picture.scanLine(i / size.width()));
        row[i % size.width()] = i < words ? wordAt(i) : rest;
    }
    return picture;
}

QVideoSurfaceFormat formatOf(const QSize &size)
{
    return QVideoSurfaceFormat(size, QVideoFrame::Format_RGB32);
}

} // namespace

class TestVideoSurface : public QObject
{
    Q_OBJECT

private slots:
    void offersThe32BitFormatsInOrder()
    {
        const QList<QVideoFrame::PixelFormat> formats = {QVideoFrame::Format_ARGB32,
                                                         QVideoFrame::Format_RGB32};
        const VideoSurface surface;
        for (const auto handle :
             {QAbstractVideoBuffer::NoHandle, QAbstractVideoBuffer::GLTextureHandle,
              QAbstractVideoBuffer::EGLImageHandle})
            QCOMPARE(surface.supportedPixelFormats(handle), formats);
    }

    void startRefusesAnEmptyFormat()
    {
        VideoSurface surface;
        for (const QSize size : {QSize(0, 0), QSize(0, 480), QSize(640, 0), QSize(-4, -4)}) {
            QVERIFY(!surface.start(formatOf(size)));
            QVERIFY(!surface.isActive());
        }
    }

    void startActivates()
    {
        VideoSurface surface;
        QVERIFY(surface.start(formatOf({1, 1})));
        QVERIFY(surface.isActive());
    }

    void startWhileActiveLeavesItStopped()
    {
        VideoSurface surface;
        QVERIFY(surface.start(formatOf({640, 480})));
        QVERIFY(surface.present(QVideoFrame(gradient({640, 480}))));
        QVERIFY(!surface.start(formatOf({640, 480})));
        QVERIFY(!surface.isActive());
        QCOMPARE(surface.frame().pixel(320, 240), 0xffff0000);
        QVERIFY(surface.start(formatOf({640, 480})));
    }

    void hasNoPictureBeforeTheFirstFrame()
    {
        VideoSurface surface;
        QVERIFY(surface.frame().isNull());
        surface.stop();
        QVERIFY(surface.frame().isNull());
    }

    void presentCopiesAllButTheTrailer()
    {
        const QSize size(40, 20);
        const QByteArray memory = bytesOf(gradient(size));
        VideoSurface surface;
        QSignalSpy available(&surface, &VideoSurface::frameAvailable);
        const int before = iFrame;

        QVERIFY(surface.present(frameOver(memory, size)));
        QCOMPARE(available.count(), 1);
        QCOMPARE(iFrame, before + 1);
        QCOMPARE(surface.frame().format(), QImage::Format_RGB32);
        KIVRA_COMPARE_PICTURES(surface.frame(), wordsThenRest(memory, size));
        QCOMPARE(surface.frame().pixel(31, 19), gradient(size).pixel(31, 19));
        for (int x = 32; x < 40; ++x)
            QCOMPARE(surface.frame().pixel(x, 19), gradient(size).pixel(31, 19));
    }

    void restOfAFrameThatIsNotWholeIsBlack()
    {
        const QSize size(40, 20);
        const QByteArray memory = bytesOf(gradient(size));
        VideoSurface surface;
        QVERIFY(surface.present(frameOver(memory.chopped(1), size)));
        for (int x = 31; x < 40; ++x)
            QCOMPARE(surface.frame().pixel(x, 19), 0xff000000);
    }

    // Of eight pixels none is copied, of nine one.
    void smallestFrames()
    {
        VideoSurface surface;
        QVERIFY(surface.present(frameOver(QByteArray(8 * 4, '\x55'), {8, 1})));
        QCOMPARE(surface.frame().pixel(0, 0), 0xff000000);
        QCOMPARE(surface.frame().pixel(7, 0), 0xff000000);
        QVERIFY(surface.present(frameOver(QByteArray(9 * 4, '\x55'), {9, 1})));
        QCOMPARE(surface.frame().pixel(0, 0), 0xff555555);
        QCOMPARE(surface.frame().pixel(8, 0), 0xff555555);
    }

    void frameIsReadableInTheSignal()
    {
        VideoSurface surface;
        QSize seen;
        int counted = -1;
        connect(&surface, &VideoSurface::frameAvailable, [&] {
            seen = surface.frame().size();
            counted = iFrame;
        });
        const int before = iFrame;
        QVERIFY(surface.present(frameOver(bytesOf(gradient({12, 7})), {12, 7})));
        QCOMPARE(seen, QSize(12, 7));
        QCOMPARE(counted, before); // a frame counts once it has been shown
    }

    void frameIsMappedForReadingAndGivenBack()
    {
        const QSize sizes[] = {{8, 8}, {1 << 30, 1 << 30}}; // the second is too large to hold
        for (const QSize &size : sizes) {
            auto *const buffer = new DriverBuffer(QByteArray(256, 'x'), 256, 32, true);
            const QVideoFrame frame(buffer, size, QVideoFrame::Format_RGB32); // owns the buffer
            VideoSurface surface;
            surface.present(frame);
            QCOMPARE(buffer->mappings,
                     QList<QAbstractVideoBuffer::MapMode>{QAbstractVideoBuffer::ReadOnly});
            QCOMPARE(buffer->mapMode(), QAbstractVideoBuffer::NotMapped);
        }
    }

    void sharedPictureIsNotCopied()
    {
        const QImage picture = gradient({16, 16});
        VideoSurface surface;
        QSignalSpy available(&surface, &VideoSurface::frameAvailable);
        const int before = iFrame;
        for (const bool mappable : {true, false})
            QVERIFY(surface.present(sharingFrame(picture, picture.size(), mappable)));
        QCOMPARE(available.count(), 2);
        QCOMPARE(iFrame, before + 2);
        QCOMPARE(surface.frame().constBits(), picture.constBits());
        QVERIFY(surface.isOpaque());

        surface.stop();
        KIVRA_COMPARE_PICTURES(picture, gradient({16, 16}));
        QCOMPARE(surface.frame().pixel(15, 15), 0xffff0000);
    }

    // Of another size, or with an alpha that nobody has looked at.
    void sharedPictureOfAnotherKindIsNotTaken()
    {
        const QSize size(16, 16);
        const QByteArray memory(16 * 16 * 4, '\x55');
        VideoSurface surface;
        for (const QImage &other :
             {gradient({15, 16}), gradient(size).convertToFormat(QImage::Format_ARGB32)}) {
            QVERIFY(surface.present(sharingFrame(other, size)));
            KIVRA_COMPARE_PICTURES(surface.frame(), wordsThenRest(memory, size));
        }
    }

    // What the handle of a texture holds is its kind's own affair.
    void handleOfATextureIsNotRead()
    {
        const QSize size(16, 16);
        VideoSurface surface;
        QVERIFY(surface.present(
            sharingFrame(gradient(size), size, true, QAbstractVideoBuffer::GLTextureHandle)));
        KIVRA_COMPARE_PICTURES(surface.frame(),
                               wordsThenRest(QByteArray(16 * 16 * 4, '\x55'), size));
    }

    void aLaterFrameLeavesEarlierCopiesAlone()
    {
        const QSize size(16, 16);
        const QByteArray memory = bytesOf(gradient(size));
        VideoSurface surface;
        QVERIFY(surface.present(frameOver(memory, size)));
        const QImage kept = surface.frame();
        QVERIFY(surface.present(frameOver(QByteArray(memory.size(), '\x55'), size)));
        KIVRA_COMPARE_PICTURES(kept, wordsThenRest(memory, size));
        surface.stop();
        KIVRA_COMPARE_PICTURES(kept, wordsThenRest(memory, size));
    }

    void invalidFrameIsDropped()
    {
        VideoSurface surface;
        QSignalSpy available(&surface, &VideoSurface::frameAvailable);
        const int before = iFrame;
        QVERIFY(!surface.present(QVideoFrame()));
        QCOMPARE(available.count(), 0);
        QCOMPARE(iFrame, before);
    }

    void unmappableFrameIsDropped()
    {
        const QSize size(8, 8);
        const QByteArray memory = bytesOf(gradient(size));
        VideoSurface surface;
        QVERIFY(surface.present(frameOver(memory, size)));
        QSignalSpy available(&surface, &VideoSurface::frameAvailable);
        const int before = iFrame;
        QVERIFY(!surface.present(frameOver(memory, size, false)));
        QCOMPARE(available.count(), 0);
        QCOMPARE(iFrame, before);
        QCOMPARE(surface.frame().size(), size); // the last good picture stays
    }

    // The surface never offers these formats, but a camera may not have asked.
    void frameOfSeveralPlanesIsDropped()
    {
        VideoSurface surface;
        QSignalSpy available(&surface, &VideoSurface::frameAvailable);
        for (int number = 0; number < QVideoFrame::NPixelFormats; ++number) {
            const auto format = QVideoFrame::PixelFormat(number);
            const QByteArray memory(64, 'x');
            const QSize row(8, 1);
            surface.present(QVideoFrame(new DriverBuffer(memory, 64, 0, true), row, format));
        }
        const QList<QVideoFrame::PixelFormat> planar = {
            QVideoFrame::Format_YUV420P, QVideoFrame::Format_YUV422P, QVideoFrame::Format_YV12,
            QVideoFrame::Format_NV12,    QVideoFrame::Format_NV21,    QVideoFrame::Format_IMC1,
            QVideoFrame::Format_IMC2,    QVideoFrame::Format_IMC3,    QVideoFrame::Format_IMC4};
        available.clear();
        for (const QVideoFrame::PixelFormat format : planar) {
            const QByteArray memory(64, 'x');
            QVERIFY(!surface.present(
                QVideoFrame(new DriverBuffer(memory, 64, 8, true), {8, 4}, format)));
        }
        QCOMPARE(available.count(), 0);
    }

    void memoryThatDisagreesWithTheSize_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("bytes");
        const QSize size(24, 10);
        const int exact = 24 * 10 * 4;
        QTest::newRow("nothing") << size << 0;
        QTest::newRow("less than the trailer") << size << trailer - 1;
        QTest::newRow("the trailer alone") << size << trailer;
        QTest::newRow("one byte more") << size << trailer + 1;
        QTest::newRow("one word more") << size << trailer + 4;
        QTest::newRow("half the picture") << size << exact / 2;
        QTest::newRow("one byte short") << size << exact - 1;
        QTest::newRow("whole") << size << exact;
        QTest::newRow("one byte more than whole") << size << exact + 1;
        QTest::newRow("a pixel beyond") << size << exact + 4;
        QTest::newRow("a trailer beyond") << size << exact + trailer;
        QTest::newRow("padded rows") << size << exact * 2;
        QTest::newRow("one pixel") << QSize(1, 1) << 4;
    }

    void memoryThatDisagreesWithTheSize()
    {
        QFETCH(QSize, size);
        QFETCH(int, bytes);
        QByteArray memory(bytes, '\0');
        for (int i = 0; i < bytes; ++i)
            memory[i] = char(i * 37 + 11);
        VideoSurface surface;
        QVERIFY(surface.present(frameOver(memory, size)));

        // The alpha byte is no part of the picture.
        const QImage expected = wordsThenRest(memory, size);
        const int words = std::max(0, (bytes - trailer) / 4);
        for (int i = 0; i < size.width() * size.height(); ++i) {
            const QPoint at(i % size.width(), i / size.width());
            QCOMPARE(surface.frame().pixel(at), expected.pixel(at));
        }
        if (words == 0)
            QCOMPARE(surface.frame().pixel(0, 0), 0xff000000);
    }

    void strideIsNotLookedAt()
    {
        const QSize size(6, 6);
        const QByteArray memory = bytesOf(gradient({8, 6}));
        VideoSurface surface;
        QVERIFY(surface.present(QVideoFrame(new DriverBuffer(memory, memory.size(), 8 * 4, true),
                                            size, QVideoFrame::Format_RGB32)));
        KIVRA_COMPARE_PICTURES(surface.frame(), wordsThenRest(memory, size));
    }

    void lengthOfNothingIsHarmless()
    {
        class NowhereBuffer : public QAbstractPlanarVideoBuffer
        {
        public:
            NowhereBuffer()
                : QAbstractPlanarVideoBuffer(NoHandle)
            {
            }
            MapMode mapMode() const override { return mode; }
            int map(MapMode wanted, int *bytes, int rowBytes[4], uchar *planes[4]) override
            {
                mode = wanted;
                *bytes = 256;
                rowBytes[0] = 32;
                planes[0] = nullptr;
                return 1;
            }
            void unmap() override { mode = NotMapped; }

        private:
            MapMode mode = NotMapped;
        };
        VideoSurface surface;
        QVERIFY(surface.present(QVideoFrame(new NowhereBuffer, {8, 8}, QVideoFrame::Format_RGB32)));
        QCOMPARE(surface.frame().size(), QSize(8, 8));
        QCOMPARE(surface.frame().pixel(0, 0), 0xff000000);
    }

    void negativeLengthIsHarmless()
    {
        const QSize size(6, 6);
        VideoSurface surface;
        for (const int length : {-5, std::numeric_limits<int>::min()}) {
            QVERIFY(surface.present(
                QVideoFrame(new DriverBuffer(QByteArray(4, 'x'), length, size.width() * 4, true),
                            size, QVideoFrame::Format_RGB32)));
            QCOMPARE(surface.frame().pixel(0, 0), 0xff000000);
        }
    }

    void emptyFrameGivesAnEmptyPicture()
    {
        VideoSurface surface;
        QSignalSpy available(&surface, &VideoSurface::frameAvailable);
        QVERIFY(surface.present(frameOver(QByteArray(64, 'x'), {0, 0})));
        QVERIFY(surface.frame().isNull());
        QCOMPARE(available.count(), 1);
    }

    void frameTooLargeToHoldIsDropped()
    {
        VideoSurface surface;
        QSignalSpy available(&surface, &VideoSurface::frameAvailable);
        const QSize size(1 << 30, 1 << 30);
        QVERIFY(!surface.present(QVideoFrame(new DriverBuffer(QByteArray(64, 'x'), 64, 4, true),
                                             size, QVideoFrame::Format_RGB32)));
        QCOMPARE(available.count(), 0);
    }

    void sizeMayChangeFromFrameToFrame()
    {
        VideoSurface surface;
        for (const QSize size : {QSize(64, 48), QSize(3, 5), QSize(128, 1), QSize(9, 90)}) {
            QVERIFY(surface.present(frameOver(bytesOf(gradient(size)), size)));
            QCOMPARE(surface.frame().size(), size);
        }
    }

    void largeFrameIsCopiedWhole()
    {
        const QSize size(1200, 1000);
        const QByteArray opaque = bytesOf(gradient(size));
        VideoSurface surface;
        QVERIFY(surface.present(frameOver(opaque, size)));
        KIVRA_COMPARE_PICTURES(surface.frame(), wordsThenRest(opaque, size));
        QVERIFY(surface.isOpaque());
        for (const int place : {0, 600 * 1000, 1200 * 990}) {
            QByteArray memory = opaque;
            memory[place * 4 + 3] = '\x7f'; // its alpha
            QVERIFY(surface.present(frameOver(memory, size)));
            QVERIFY(!surface.isOpaque());
        }
    }

    void opaqueFrameIsKnown()
    {
        const QSize size(8, 8);
        const QByteArray opaque(size.width() * size.height() * 4, '\xff');
        VideoSurface surface;
        QVERIFY(!surface.isOpaque());
        const int places = opaque.size() / 4;
        const int lastCopied = places - 1 - trailer / 4;
        for (int place = 0; place < places; ++place) {
            QVERIFY(surface.present(frameOver(opaque, size)));
            QVERIFY(surface.isOpaque());
            QByteArray memory = opaque;
            memory[place * 4 + 3] = '\xfe'; // its alpha
            QVERIFY(surface.present(frameOver(memory, size)));
            QCOMPARE(surface.isOpaque(), place > lastCopied);
        }
        QVERIFY(surface.present(frameOver(QByteArray(), size)));
        QVERIFY(surface.isOpaque()); // black as a whole
        QVERIFY(!surface.present(QVideoFrame()));
        QVERIFY(surface.isOpaque()); // what is dropped changes nothing
        surface.stop();
        QVERIFY(!surface.isOpaque());
    }

    void stopLeavesRed()
    {
        const QSize size(8, 8);
        VideoSurface surface;
        QVERIFY(surface.start(formatOf(size)));
        QVERIFY(surface.present(frameOver(bytesOf(gradient(size)), size)));
        surface.stop();
        QVERIFY(!surface.isActive());
        QImage red(size, QImage::Format_RGB32);
        red.fill(0xffff0000);
        KIVRA_COMPARE_PICTURES(surface.frame(), red);
    }
};

KIVRA_TEST(TestVideoSurface)
#include "test_videosurface.moc"
