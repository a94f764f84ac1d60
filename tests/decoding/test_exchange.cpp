// The viewer's side of the protocol, with a decoder that does as it likes.

#include "decoding/confined/exchange.h"
#include "decoding/decoder.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QTest>
#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>

using kivra::Descriptor;
using kivra::Exchange;
using kivra::SharedMemory;
using kivra::protocol::Kind;
using kivra::protocol::Message;
using State = kivra::Exchange::State;

class TestExchange;
using Say = std::function<void(TestExchange &)>;
Q_DECLARE_METATYPE(Say)

class TestExchange : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        int ends[2] = {-1, -1};
        QCOMPARE(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
        viewer = std::make_unique<Exchange>(Descriptor(ends[0]));
        decoder = Descriptor(ends[1]);
        file = Descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
    }

    void cleanup()
    {
        viewer.reset();
        decoder = Descriptor();
    }

    void onePictureAfterTheOther()
    {
        for (const QSize size : {QSize(3, 2), QSize(3, 2), QSize(40, 50)}) {
            begin();
            answer({Kind::Size, size.width(), size.height(), 32});
            QCOMPARE(viewer->state(), State::AwaitsPixels);
            fill(size, 0x00123456);
            answer({Kind::Done, 0, 0, 0});
            QCOMPARE(viewer->state(), State::Finished);
            const QImage picture = viewer->takePicture();
            QCOMPARE(picture.size(), size);
            QCOMPARE(picture.format(), QImage::Format_RGB32);
            QCOMPARE(*reinterpret_cast<const QRgb *>(picture.constBits()), 0xff123456U);
        }
    }

    // The picture is the viewer's own: what a decoder writes later does not reach it.
    void pictureIsOutOfReach()
    {
        begin();
        answer({Kind::Size, 4, 4, 0});
        fill({4, 4}, 0xff111111);
        answer({Kind::Done, 0, 0, 0});
        const QImage picture = viewer->takePicture();
        std::fill_n(reinterpret_cast<QRgb *>(memory.pixels()), 16, 0x00999999U);
        QCOMPARE(picture.pixel(0, 0), 0xff111111U);
    }

    void memoryCannotChangeItsSize()
    {
        begin();
        answer({Kind::Size, 100, 100, 0});
        fill({100, 100}, 0);
        QVERIFY(ftruncate(memory.descriptor(), 10) != 0);
        QVERIFY(ftruncate(memory.descriptor(), 1 << 20) != 0);
        QVERIFY(fcntl(memory.descriptor(), F_ADD_SEALS, F_SEAL_WRITE) != 0);
        QCOMPARE(errno, EPERM); // sealed, not only in use
    }

    void wrongSizeMayBeCorrectedOnce()
    {
        begin();
        answer({Kind::Size, 10, 10, 0});
        fill({10, 10}, 1);
        answer({Kind::Size, 20, 10, 0});
        fill({20, 10}, 0xff010203);
        answer({Kind::Done, 0, 0, 0});
        QCOMPARE(viewer->takePicture().size(), QSize(20, 10));
        begin();
        for (const int width : {10, 20, 30})
            answer({Kind::Size, width, 10, 0});
        QCOMPARE(viewer->state(), State::Failed);
    }

    void hostile_data()
    {
        QTest::addColumn<Say>("say");
        const auto row = [](const char *name, const Say &say) { QTest::newRow(name) << say; };
        const auto size = [](qint32 width, qint32 height, qint32 depth) {
            return [=](TestExchange &talk) { talk.answer({Kind::Size, width, height, depth}); };
        };
        row("no pixels", size(0, 10, 0));
        row("negative width", size(-1, 10, 0));
        row("both negative", size(-10, -10, 0));
        row("too many pixels", size(16384, 8193, 0));
        row("product beyond 32 bits", size(65536, 65536, 0));
        row("product that wraps to little", size(0x40000001, 4, 0));
        row("largest numbers", size(0x7fffffff, 0x7fffffff, 0));
        row("negative depth", size(10, 10, -1));
        row("depth beyond all", size(10, 10, 65));
        row("pixels before the size", [](TestExchange &talk) {
            talk.answer({Kind::Done, 1, 1, 1});
        });
        row("no picture", [](TestExchange &talk) { talk.answer({Kind::NoPicture, 0, 0, 0}); });
        row("the viewer's own words", [](TestExchange &talk) {
            talk.answer({Kind::Open, 1, 1, 1});
        });
        row("unknown word", [](TestExchange &talk) { talk.answer({Kind(99), 1, 1, 1}); });
        row("short message", [](TestExchange &talk) { talk.answerBytes(3); });
        row("long message", [](TestExchange &talk) { talk.answerBytes(sizeof(Message) + 1); });
        row("empty message", [](TestExchange &talk) { talk.answerBytes(0); });
        row("silence for ever", [](TestExchange &talk) {
            talk.decoder = Descriptor();
            talk.viewer->receive();
        });
        row("done twice", [](TestExchange &talk) {
            talk.answer({Kind::Size, 2, 2, 0});
            talk.answer({Kind::Done, 0, 0, 0});
            talk.answer({Kind::Done, 0, 0, 0});
        });
    }

    void hostile()
    {
        QFETCH(Say, say);
        begin();
        say(*this);
        QCOMPARE(viewer->state(), State::Failed);
        QVERIFY(!viewer->begin(file.get(), kivra::mostPixels));
    }

    void earlyWords()
    {
        answer({Kind::Size, 2, 2, 0});
        QCOMPARE(viewer->state(), State::Failed);
        init();
        QVERIFY(kivra::protocol::send(decoder.get(), {Kind::Size, 2, 2, 0}));
        QVERIFY(!viewer->begin(file.get(), kivra::mostPixels));
    }

    void descriptorsThatADecoderSendsAreClosed()
    {
        begin();
        const int before = nextDescriptor();
        QVERIFY(kivra::protocol::send(decoder.get(), {Kind(99), 0, 0, 0}, file.get()));
        viewer->receive();
        QCOMPARE(nextDescriptor(), before);
        QCOMPARE(viewer->state(), State::Failed);
    }

    void nothingIsWaitedFor()
    {
        begin();
        viewer->receive();
        QCOMPARE(viewer->state(), State::AwaitsSize);
        for (int i = 0; i < 100000 && viewer->state() != State::Failed; ++i) {
            if (kivra::protocol::send(decoder.get(), {Kind::Size, 1, 1 + i, 0}))
                viewer->receive();
        }
        QCOMPARE(viewer->state(), State::Failed);
    }

    void largestPictureHasItsMemory()
    {
        begin();
        answer({Kind::Size, 16384, 8192, 64});
        QCOMPARE(viewer->state(), State::AwaitsPixels);
    }

private:
    void begin()
    {
        QVERIFY(viewer->begin(file.get(), kivra::mostPixels));
        QCOMPARE(viewer->state(), State::AwaitsSize);
        Message request = {};
        Descriptor sent;
        QVERIFY(kivra::protocol::await(decoder.get(), &request, &sent));
        QCOMPARE(request.kind, Kind::Open);
        QVERIFY(sent.isOpen());
    }

    void answer(const Message &message)
    {
        QVERIFY(kivra::protocol::send(decoder.get(), message));
        viewer->receive();
    }

    void answerBytes(size_t length)
    {
        const char bytes[2 * sizeof(Message)] = {};
        QCOMPARE(send(decoder.get(), bytes, length, 0), ssize_t(length));
        viewer->receive();
    }

    void fill(const QSize &size, QRgb word)
    {
        Message message = {};
        Descriptor sent;
        QVERIFY(kivra::protocol::await(decoder.get(), &message, &sent));
        QCOMPARE(message.kind, Kind::Memory);
        if (sent.isOpen())
            memory = SharedMemory::fill(std::move(sent), kivra::pixelBytes(size));
        QCOMPARE(memory.bytes(), kivra::pixelBytes(size));
        std::fill_n(reinterpret_cast<QRgb *>(memory.pixels()), size.width() * size.height(), word);
    }

    static int nextDescriptor() { return Descriptor(open("/dev/null", O_RDONLY)).get(); }

    std::unique_ptr<Exchange> viewer;
    Descriptor decoder;
    Descriptor file;
    SharedMemory memory;
};

KIVRA_TEST(TestExchange)
#include "test_exchange.moc"
