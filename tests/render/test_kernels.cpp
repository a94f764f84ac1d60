#include "render/kernels/kernels.h"
#include "render/renderer.h"
#include "tests/render/pictures.h"
#include "tests/render/spy.h"
#include "tests/render/versions.h"

#include <QRandomGenerator>
#include <algorithm>
#include <cstring>
#include <functional>
#include <opencv2/imgproc.hpp>

using namespace kivra;
using kivra::test::randomPicture;
using kivra::test::Spy;

namespace {

using Words = std::vector<Pixel>;
using Bytes = std::vector<std::uint8_t>;

// More than twice the pixels of the widest vector step.
constexpr int longest = 67;
constexpr Pixel sentinel = 0x5EA7BEEFU;
constexpr std::uint8_t byteSentinel = 0xA5;

Words randomWords(int n)
{
    QRandomGenerator random(static_cast<quint32>(n) + 99);
    Words words(static_cast<std::size_t>(n));
    std::generate(words.begin(), words.end(), [&] { return random.generate(); });
    return words;
}

Bytes randomBytes(int n)
{
    QRandomGenerator random(static_cast<quint32>(n) + 7);
    Bytes bytes(static_cast<std::size_t>(n));
    std::generate(bytes.begin(), bytes.end(),
                  [&] { return static_cast<std::uint8_t>(random.bounded(256)); });
    return bytes;
}

ToneWords someTones()
{
    ToneWords words{};
    for (std::size_t i = 0; i < words.blue.size(); ++i) {
        words.red[i] = 0xFF000000U | static_cast<Pixel>(i * 7 & 0xFF) << 16;
        words.green[i] = static_cast<Pixel>(i * 11 & 0xFF) << 8;
        words.blue[i] = static_cast<Pixel>(i * 13 & 0xFF);
    }
    return words;
}

// From pixels to pixels of one row, with whatever else the kernel needs.
using PixelKernel = std::function<void(const Kernels &, const Pixel *, Pixel *, int)>;

// All of them, each with a name for the report.
std::vector<std::pair<const char *, PixelKernel>> pixelKernels()
{
    static const ToneWords toneWords = someTones();
    static const Bytes becomes = randomBytes(longest + 1);
    static constexpr ToneLine steep{3 << 10, -(200 << 10), 10};
    return {
        {"opaque", [](const Kernels &k, auto *from, auto *to, int n) { k.opaque(from, to, n); }},
        {"negative",
         [](const Kernels &k, auto *from, auto *to, int n) { k.negative(from, to, n); }},
        {"shade", [](const Kernels &k, auto *from, auto *to, int n) { k.shade(from, to, n); }},
        {"fade",
         [](const Kernels &k, auto *from, auto *to, int n) {
             k.fade(from, to, n, {0x0011C8FFU, 0x00FF0080U});
         }},
        {"tone",
         [](const Kernels &k, auto *from, auto *to, int n) { k.tone(from, to, n, toneWords); }},
        {"line", [](const Kernels &k, auto *from, auto *to, int n) { k.line(from, to, n, steep); }},
        {"relight",
         [](const Kernels &k, auto *from, auto *to, int n) {
             Bytes was(static_cast<std::size_t>(n));
             kernelsFor(Isa::Portable).luma(from, was.data(), n);
             k.relight(from, was.data(), becomes.data(), to, n);
         }},
        {"hsvPlace",
         [](const Kernels &k, auto *from, auto *to, int n) { k.hsvPlace(from, to, n); }},
    };
}

// All 2^24 colours, a row for each red and pair of green; the alphas vary.
struct HsvPixel
{
    std::uint8_t hue, saturation, value;
};

cv::Mat allColours()
{
    cv::Mat colours(4096, 4096, CV_8UC4);
    auto *const words = colours.ptr<Pixel>();
    for (Pixel i = 0; i < 1U << 24; ++i)
        words[i] = i | i * 0x9E3779B9U << 24;
    return colours;
}

cv::Mat viaLibrary(const cv::Mat &colours, int conversion)
{
    cv::Mat bgr;
    cv::cvtColor(colours, bgr, cv::COLOR_BGRA2BGR);
    cv::Mat result;
    cv::cvtColor(bgr, result, conversion);
    return result;
}

} // namespace

class TestKernels : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        version = &kernels();
        colours = allColours();
    }

    // The machine may lack what the environment asks for; then the best below it runs.
    void versionAskedForIsTheOneThatRuns()
    {
        const QByteArray wanted = qEnvironmentVariableIsSet("KIVRA_ISA")
                                      ? qgetenv("KIVRA_ISA")
                                      : QByteArray(isaName(kernels().isa).data());
#if defined(__x86_64__)
        const bool machineHasIt =
            wanted == "portable" || (wanted == "sse41" && __builtin_cpu_supports("sse4.1")) ||
            (wanted == "avx2" && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"));
#else
        const bool machineHasIt = wanted == "portable";
#endif
        if (!machineHasIt)
            QSKIP("this machine lacks the instruction set");
        QCOMPARE(QByteArray(isaName(kernels().isa).data()), wanted);
        QVERIFY(&kernels() == &kernelsFor(kernels().isa));
    }

    void rendererRunsTheVersionInUse()
    {
        const Spy<&Kernels::opaque> opaque;
        const Spy<&Kernels::shade> shade;
        const Spy<&Kernels::negative> negative;
        const Spy<&Kernels::fade> fade;
        const Spy<&Kernels::line> line;
        const Spy<&Kernels::tone> tone;
        const Spy<&Kernels::luma> luma;
        const Spy<&Kernels::relight> relight;
        const Spy<&Kernels::grey> grey;
        const Spy<&Kernels::choose> choose;
        const Spy<&Kernels::hsvPlace> hsvPlace;
        const QImage picture = randomPicture(QSize(64, 48));
        Renderer renderer;
        const auto render = [&](int mode, int effect) {
            renderer.render({picture}, {mode, effect, 0, 100});
        };
        render(0, 0);
        QVERIFY(opaque.ran() && !shade.ran() && !negative.ran() && !fade.ran());
        render(0, 1);
        render(0, 2);
        render(0, 3);
        QVERIFY(shade.ran() && negative.ran() && fade.ran() && !line.ran() && !tone.ran());
        render(1, 0);
        QVERIFY(line.ran() && !luma.ran());
        render(2, 0);
        QVERIFY(luma.ran() && relight.ran() && !grey.ran());
        render(3, 0);
        QVERIFY(grey.ran() && choose.ran() && !hsvPlace.ran());
        render(6, 0);
        QVERIFY(hsvPlace.ran());
    }

    // Otherwise the tests might check one version while another one runs.
    void versionsAreFunctionsOfTheirOwn()
    {
        std::set<void (*)(const Pixel *, Pixel *, int, const ToneWords &)> tones;
        std::set<void (*)(const Pixel *, std::uint8_t *, int)> greys;
        int versions = 0;
        for (; versions <= static_cast<int>(kernels().isa); ++versions) {
            const Kernels &candidate = kernelsFor(static_cast<Isa>(versions));
            QCOMPARE(candidate.isa, static_cast<Isa>(versions));
            tones.insert(candidate.tone);
            greys.insert(candidate.grey);
        }
        QCOMPARE(int(tones.size()), versions);
        QCOMPARE(int(greys.size()), versions);
    }

    void pixelKernelsAgreeAtEveryLength()
    {
        for (const auto &[name, run] : pixelKernels()) {
            for (int n = 0; n <= longest; ++n) {
                const auto count = static_cast<std::size_t>(n);
                const Words from = randomWords(n);
                Words expected(count);
                run(kernelsFor(Isa::Portable), from.data(), expected.data(), n);
                expected.push_back(sentinel);

                Words apart(count + 1, sentinel);
                run(*version, from.data(), apart.data(), n);
                QVERIFY2(apart == expected, name);

                Words inPlace = from;
                inPlace.push_back(sentinel);
                run(*version, inPlace.data(), inPlace.data(), n);
                QVERIFY2(inPlace == expected, name);
            }
        }
    }

    void copyTakesPixelsAtAnyAddress()
    {
        for (const std::size_t misplaced : {0U, 1U, 2U, 3U}) {
            for (int n = 0; n <= longest; ++n) {
                const auto count = static_cast<std::size_t>(n);
                Words expected(count, 0xFF123456U);
                std::vector<std::byte> block(misplaced + count * sizeof(Pixel));
                Words copied(count + 1, sentinel);
                const auto copy = [&] {
                    if (n > 0)
                        std::memcpy(block.data() + misplaced, expected.data(),
                                    count * sizeof(Pixel));
                    return version->copy(block.data() + misplaced, copied.data(), n);
                };
                QVERIFY(copy());
                for (std::size_t place = 0; place < count; ++place) {
                    expected[place] = 0xFE000000U + static_cast<Pixel>(place);
                    QVERIFY(!copy());
                    QVERIFY(std::equal(expected.begin(), expected.end(), copied.begin()));
                    QCOMPARE(copied.back(), sentinel);
                    expected[place] = 0xFFABCDEFU;
                }
            }
        }
    }

    void byteKernelsAgreeAtEveryLength()
    {
        for (const auto kernel : {&Kernels::grey, &Kernels::luma}) {
            for (int n = 0; n <= longest; ++n) {
                const auto count = static_cast<std::size_t>(n);
                const Words from = randomWords(n);
                Bytes expected(count);
                (kernelsFor(Isa::Portable).*kernel)(from.data(), expected.data(), n);
                expected.push_back(byteSentinel);
                Bytes to(count + 1, byteSentinel);
                (version->*kernel)(from.data(), to.data(), n);
                QCOMPARE(to, expected);
            }
        }
    }

    void lookUpAgreesAtEveryLength()
    {
        ByteTable table{};
        for (std::size_t i = 0; i < table.size(); ++i)
            table[i] = static_cast<std::uint8_t>(i * 77 + 13);
        for (int n = 0; n <= 300; ++n) {
            const Bytes from = randomBytes(n);
            Bytes expected;
            std::transform(from.begin(), from.end(), std::back_inserter(expected),
                           [&](std::uint8_t level) { return table[level]; });
            expected.push_back(byteSentinel);
            Bytes to(from.size() + 1, byteSentinel);
            version->lookUp(from.data(), to.data(), n, table);
            QCOMPARE(to, expected);
        }
    }

    void chooseAgreesAtEveryLength()
    {
        for (int n = 0; n <= longest; ++n) {
            const Bytes from = randomBytes(n);
            for (const int threshold : {-1, 0, 127, 128, 254, 255}) {
                Words expected;
                std::transform(
                    from.begin(), from.end(), std::back_inserter(expected),
                    [&](int grey) { return grey > threshold ? 0xFF112233U : 0xFF445566U; });
                expected.push_back(sentinel);
                Words to(from.size() + 1, sentinel);
                version->choose(from.data(), to.data(), n, threshold, {0xFF445566U, 0xFF112233U});
                QCOMPARE(to, expected);
            }
        }
    }

    void medianAgreesAtEveryLength()
    {
        const Bytes above = randomBytes(longest + 2);
        const Bytes middle = randomBytes(longest + 3);
        const Bytes below = randomBytes(longest + 4);
        for (int n = 0; n <= longest; ++n) {
            Bytes expected;
            for (std::size_t x = 0; x < static_cast<std::size_t>(n); ++x) {
                Bytes nine;
                for (const Bytes *row : {&above, &middle, &below})
                    nine.insert(nine.end(), row->begin() + static_cast<std::ptrdiff_t>(x),
                                row->begin() + static_cast<std::ptrdiff_t>(x) + 3);
                std::sort(nine.begin(), nine.end());
                expected.push_back(nine[4]);
            }
            expected.push_back(byteSentinel);
            Bytes to(expected.size(), byteSentinel);
            version->median(above.data() + 1, middle.data() + 1, below.data() + 1, to.data(), n);
            QCOMPARE(to, expected);
        }
    }

    // Fused and unfused sums differ, so each is compared with the operations in their written
    // order.
    void meanAgreesAtEveryLength()
    {
        MeanWeights weights{};
        const cv::Mat gaussian = cv::getGaussianKernel(meanTaps, 0, CV_32F);
        std::copy_n(gaussian.ptr<float>(), meanTaps, weights.begin());
        QRandomGenerator random(5);
        Bytes from(longest + 2 * meanReach);
        std::generate(from.begin(), from.end(),
                      [&] { return static_cast<std::uint8_t>(random.bounded(256)); });
        std::vector<float> scratch(from.size());
        const bool fused = version->isa == Isa::Avx2;
        for (int n = 0; n <= longest; ++n) {
            std::vector<float> to(static_cast<std::size_t>(n) + 1, -1.0F);
            version->meanAcross(from.data() + meanReach, scratch.data() + meanReach, to.data(), n,
                                weights);
            QCOMPARE(to.back(), -1.0F);
            for (std::size_t x = 0; x < static_cast<std::size_t>(n); ++x) {
                volatile float sum = float(from[x]) * weights[0];
                for (std::size_t tap = 1; tap < meanTaps; ++tap) {
                    const auto value = float(from[x + tap]);
                    volatile float product = value * weights[tap];
                    sum = fused ? std::fma(value, weights[tap], float(sum))
                                : float(sum) + float(product);
                }
                QVERIFY(to[x] == sum);
            }
        }
    }

    void greyOfAllColoursIsTheLibrarys()
    {
        const cv::Mat expected = viaLibrary(colours, cv::COLOR_BGR2GRAY);
        Bytes row(4096);
        for (int y = 0; y < colours.rows; ++y) {
            version->grey(colours.ptr<Pixel>(y), row.data(), colours.cols);
            QVERIFY(std::equal(row.begin(), row.end(), expected.ptr(y)));
        }
    }

    void lumaOfAllColoursIsTheLibrarys()
    {
        cv::Mat expected;
        cv::extractChannel(viaLibrary(colours, cv::COLOR_BGR2YCrCb), expected, 0);
        Bytes row(4096);
        for (int y = 0; y < colours.rows; ++y) {
            version->luma(colours.ptr<Pixel>(y), row.data(), colours.cols);
            QVERIFY(std::equal(row.begin(), row.end(), expected.ptr(y)));
        }
    }

    // The luma is changed on the way; otherwise the picture would come back as it was.
    void wayThroughYCrCbOfAllColoursIsTheLibrarys()
    {
        cv::Mat luma = viaLibrary(colours, cv::COLOR_BGR2YCrCb);
        Bytes was(1 << 24);
        Bytes becomes(1 << 24);
        for (int y = 0; y < luma.rows; ++y) {
            for (int x = 0; x < luma.cols; ++x) {
                const auto place = static_cast<std::size_t>(y) * 4096 + static_cast<std::size_t>(x);
                std::uint8_t &value = luma.at<cv::Vec3b>(y, x)[0];
                was[place] = value;
                value = static_cast<std::uint8_t>(value / 2 + (x & 64));
                becomes[place] = value;
            }
        }
        cv::Mat expected;
        cv::cvtColor(luma, expected, cv::COLOR_YCrCb2BGR, 4);
        Words row(4096);
        for (int y = 0; y < colours.rows; ++y) {
            const auto first = static_cast<std::size_t>(y) * 4096;
            version->relight(colours.ptr<Pixel>(y), was.data() + first, becomes.data() + first,
                             row.data(), colours.cols);
            QVERIFY(std::equal(row.begin(), row.end(), expected.ptr<Pixel>(y)));
        }
    }

    void hsvPlaceOfAllColoursIsTheLibrarys()
    {
        const cv::Mat hsv = viaLibrary(colours, cv::COLOR_BGR2HSV);
        std::vector<std::uint32_t> row(4096);
        for (int y = 0; y < colours.rows; ++y) {
            version->hsvPlace(colours.ptr<Pixel>(y), row.data(), colours.cols);
            const auto isPlace = [](std::uint32_t place, const HsvPixel &pixel) {
                return place == (pixel.value / 32U * 180 + pixel.hue) * 256 + pixel.saturation;
            };
            QVERIFY(std::equal(row.begin(), row.end(), hsv.ptr<HsvPixel>(y), isPlace));
        }
    }

private:
    const Kernels *version = nullptr;
    cv::Mat colours;
};

KIVRA_TEST_EACH_VERSION(TestKernels)
#include "test_kernels.moc"
