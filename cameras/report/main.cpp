// kivra-cameras: for the person who is called when there is no picture.

#include "cameras/report/reporttext.h"
#include "cameras/video/kernel.h"
#include "cameras/video/videosettings.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <cstdio>

using namespace kivra::cameras;

namespace {

constexpr int usableStatus = 0;
constexpr int unusableStatus = 1;

void print(const QByteArray &text)
{
    std::fwrite(text.constData(), 1, std::size_t(text.size()), stdout);
}

MachineReport examine()
{
    Kernel &kernel = Kernel::system();
    const std::optional<FormatWish> wish = videoSettings().format;
    MachineReport report;
    for (const VideoDevice &device : findDevices({}, kernel))
        report.nodes.push_back(examineCamera(kernel, device, wish));
    return report;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kivra-cameras"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KIVRA_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Dit ce que Kivra sait des caméras de cet ordinateur, ce qu'il en ferait, "
                       "et quoi faire quand il n'y a pas d'image.\n"
                       "Se termine par 0 si une caméra est utilisable, par 1 sinon."));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("La même chose en JSON, pour un programme."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Affiche cette aide."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Affiche la version."));
    parser.addOptions({json, help, version});
    const QStringList arguments = QCoreApplication::arguments();
    const bool understood = parser.parse(arguments);
    const QStringList unknown = parser.unknownOptionNames() + parser.positionalArguments();
    if (!understood || !unknown.isEmpty()) {
        std::fprintf(stderr,
                     "kivra-cameras : « %s » : option inconnue ; voir kivra-cameras --help\n",
                     qPrintable(unknown.value(0, arguments.last())));
        return 2;
    }
    if (parser.isSet(help)) {
        print(parser.helpText().toUtf8());
        return usableStatus;
    }
    if (parser.isSet(version)) {
        print("kivra-cameras " KIVRA_VERSION "\n");
        return usableStatus;
    }
    const MachineReport report = examine();
    print(parser.isSet(json) ? reportJson(report) : reportText(report).toUtf8());
    return isUsable(report) ? usableStatus : unusableStatus;
}
