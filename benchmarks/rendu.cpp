// kivra-rendu on photographs of 12 megapixels: what a picture costs, compared with the sum of its
// steps measured alone, and with other programs that do the nearest they can. Prints tables in
// Markdown. The first argument is the number of photographs.

#include "render/renderer.h"
#include "rendu/encoding.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <turbojpeg.h>

namespace {

constexpr QSize photograph(4000, 3000);
constexpr int different = 5;
constexpr int cores = 2;

// Lines of writing on paper that is lit from one side, with the noise of a sensor.
QImage pageOf(int number)
{
    QImage picture(photograph, QImage::Format_RGB32);
    std::mt19937 random(static_cast<unsigned int>(number));
    for (int y = 0; y < picture.height(); ++y) {
        auto *const row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            const int level = 150 + x / 50 + int(random() % 9U);
            row[x] = qRgb(level, level - 4, level - 14);
        }
    }
    QPainter painter(&picture);
    painter.setPen(qRgb(40, 40, 90));
    QFont font = painter.font();
    font.setPixelSize(70);
    painter.setFont(font);
    for (int y = 150; y < picture.height(); y += 110)
        painter.drawText(200, y,
                         QStringLiteral("Page %1 : le voyage d'une goutte d'eau, de la mer "
                                        "aux nuages, puis aux rivières")
                             .arg(number));
    return picture;
}

double msOf(const std::function<void()> &work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) * 1e-6;
}

// The best round: the work alone, as fast as the machine can.
double leastMsOf(const std::function<void()> &work)
{
    constexpr int rounds = 7;
    double least = msOf(work);
    for (int round = 1; round < rounds; ++round)
        least = std::min(least, msOf(work));
    return least;
}

QImage decoded(const QByteArray &jpeg)
{
    QImage picture(photograph, QImage::Format_RGB32);
    const tjhandle decompressor = tjInitDecompress();
    const auto *const bytes = reinterpret_cast<const unsigned char *>(jpeg.constData());
    if (tjDecompress2(decompressor, bytes, static_cast<unsigned long>(jpeg.size()), picture.bits(),
                      picture.width(), int(picture.bytesPerLine()), picture.height(), TJPF_BGRX,
                      0) != 0)
        qFatal("no JPEG");
    tjDestroy(decompressor);
    return picture;
}

class Comparison
{
public:
    explicit Comparison(int photographs)
        : count(photographs)
    {
        for (int i = 0; i < different; ++i)
            pageOf(i).save(folder.filePath(QStringLiteral("vue%1.jpg").arg(i)), "jpg", 92);
        for (int i = 0; i < count; ++i)
            QFile::link(QStringLiteral("vue%1.jpg").arg(i % different),
                        folder.filePath(QStringLiteral("i%1.jpg").arg(i)));
    }

    // In turns, because the machine's speed drifts from minute to minute. The median round counts.
    void compareWithItsSteps(const char *effect, int mode, const char *format)
    {
        constexpr std::size_t rounds = 3;
        std::array<Round, rounds> all;
        for (Round &round : all) {
            round = stepsOf(mode, qstrcmp(format, "png") == 0);
            round.whole = msOfCommand(
                QStringLiteral("rm -rf propre; ls i*.jpg | " KIVRA_PROGRAM_FOLDER
                               "/kivra-rendu -q -j %1 --effet %2 --format %3 "
                               "--files-from - -o propre")
                    .arg(QString::number(cores), QLatin1String(effect), QLatin1String(format)),
                count);
        }
        std::sort(all.begin(), all.end(),
                  [](const Round &one, const Round &other) { return one.ratio() < other.ratio(); });
        const Round &middle = all[rounds / 2];
        whole = middle.whole;
        std::printf("| %s, %s | %.0f | %.0f | %.0f | %.0f | %.0f | %.2f (%.2f to %.2f) |\n", effect,
                    format, middle.decoding, middle.rendering, middle.encoding, middle.bound(),
                    whole, middle.ratio(), all.front().ratio(), all.back().ratio());
    }

    // Runs one process per core.
    void compareWith(const char *title, const char *command)
    {
        constexpr int few = 10;
        const double theirs = msOfCommand(
            QStringLiteral("mkdir -p autre; ls i*.jpg | head -n %1 | xargs -P %2 -n %3 %4")
                .arg(few)
                .arg(cores)
                .arg(few / cores)
                .arg(QLatin1String(command)),
            few);
        std::printf("| %s | %.0f | %.1f |\n", title, theirs, theirs / whole);
    }

private:
    // Milliseconds per photograph.
    struct Round
    {
        double decoding = 0;
        double rendering = 0;
        double encoding = 0;
        double whole = 0;
        double bound() const { return (decoding + rendering + encoding) / cores; }
        double ratio() const { return whole / bound(); }
    };

    Round stepsOf(int mode, bool isPng) const
    {
        QFile file(folder.filePath(QStringLiteral("vue0.jpg")));
        file.open(QIODevice::ReadOnly);
        const QByteArray jpeg = file.readAll();
        kivra::Renderer renderer(1);
        QImage picture;
        QImage rendered;
        Round round;
        round.decoding = leastMsOf([&] { picture = decoded(jpeg); });
        round.rendering = leastMsOf([&] {
            rendered = {};
            rendered = renderer.render({picture, true}, {mode, 0, 0, 100}).image;
        });
        round.encoding = leastMsOf(
            [&] { isPng ? kivra::rendu::pngOf(rendered) : kivra::rendu::jpegOf(rendered); });
        return round;
    }

    double msOfCommand(const QString &line, int photographs) const
    {
        QProcess shell;
        shell.setWorkingDirectory(folder.path());
        shell.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        return msOf([&] {
                   shell.start(QStringLiteral("sh"), {QStringLiteral("-c"), line});
                   if (!shell.waitForFinished(-1) || shell.exitCode() != 0)
                       qFatal("%s fails", qPrintable(line));
               }) /
               photographs;
    }

    QTemporaryDir folder;
    int count;
    double whole = 0;
};

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    constexpr int usual = 200;
    Comparison comparison(argc > 1 ? std::max(std::atoi(argv[1]), 10) : usual);
    std::printf(
        "| ms a photograph | decoding | rendering | encoding | sum / %d | kivra-rendu -j %d | "
        "ratio |\n|---|---|---|---|---|---|---|\n",
        cores, cores);
    comparison.compareWithItsSteps("automatique", 1, "jpg");
    comparison.compareWithItsSteps("texte", 3, "png");
    std::printf("\n| the nearest that others do, to PNG | ms a photograph | times as long "
                "|\n|---|---|---|\n");
    constexpr const char *steps =
        "-path autre -format png -colorspace Gray -normalize -threshold 50%";
    comparison.compareWith("mogrify", (QByteArray("mogrify ") + steps).constData());
    comparison.compareWith(
        "gm mogrify", "gm mogrify -output-directory autre -format png -colorspace Gray -normalize "
                      "-threshold 50%");
    return 0;
}
