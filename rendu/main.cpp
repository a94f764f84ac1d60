// kivra-rendu: a folder of pictures made readable in one go.

#include "decoding/picturedecoder.h"
#include "rendu/help.h"
#include "rendu/options.h"
#include "rendu/run.h"
#include "rendu/told.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QTextCodec>
#include <cstdio>

using namespace kivra::rendu;

namespace {

int print(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), stdout);
    return allDone;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    // For file names too: a scheduled job runs without a language setting.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));

    const CommandLine line = readCommandLine(argc, argv);
    if (!line.fault.isEmpty()) {
        printComplaint(line.fault);
        printComplaint(QStringLiteral("voir kivra-rendu --help"));
        return wrongUse;
    }
    switch (line.request) {
    case CommandLine::Request::Help:
        return print(helpText());
    case CommandLine::Request::Version:
        return print(QStringLiteral("kivra-rendu " KIVRA_VERSION "\n"));
    case CommandLine::Request::List:
        return print(listText());
    case CommandLine::Request::Render:
        break;
    }
    const QString decoder = kivra::PictureDecoder::installedProgram();
    if (!QFileInfo(decoder).isExecutable()) {
        printComplaint(QStringLiteral("« %1 » manque ; réinstallez Kivra").arg(decoder));
        return wrongUse;
    }
    return run(line.options);
}
