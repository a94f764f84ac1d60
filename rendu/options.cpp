#include "rendu/options.h"

#include "app/coefficients.h"
#include "rendu/choices.h"

#include <QFile>
#include <QThread>
#include <array>
#include <cstring>
#include <getopt.h>

namespace kivra::rendu {

namespace {

constexpr int mostJobs = 256;

// The letters of short options stand for themselves.
enum Option : int {
    Effet = 256,
    Rendu,
    Contraste,
    Lumiere,
    Reglage,
    Pdf,
    Format,
    FilesFrom,
    List,
};

constexpr std::array<option, 16> longOptions{{
    {"effet", required_argument, nullptr, Effet},
    {"rendu", required_argument, nullptr, Rendu},
    {"contraste", required_argument, nullptr, Contraste},
    {"lumiere", required_argument, nullptr, Lumiere},
    {"reglage", required_argument, nullptr, Reglage},
    {"output", required_argument, nullptr, 'o'},
    {"pdf", required_argument, nullptr, Pdf},
    {"format", required_argument, nullptr, Format},
    {"files-from", required_argument, nullptr, FilesFrom},
    {"jobs", required_argument, nullptr, 'j'},
    {"force", no_argument, nullptr, 'f'},
    {"quiet", no_argument, nullptr, 'q'},
    {"list", no_argument, nullptr, List},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, 'V'},
    {nullptr, 0, nullptr, 0},
}};

constexpr const char *letters = "o:j:fqhV";

// Qt takes a name that begins with a colon for one of its resources.
QString pathOf(const QByteArray &name)
{
    const QString path = QFile::decodeName(name);
    return path.startsWith(QLatin1Char(':')) ? QStringLiteral("./") + path : path;
}

class Reading
{
public:
    void take(int code, const QString &value);
    void takeLists();
    void check();

    CommandLine line;

private:
    void choose(int *chosen, const QStringList &names, const QString &name, const char *option);
    void number(int *chosen, int lowest, int highest, const QString &value, const char *option);
    void coefficient(int *chosen, int which, const QString &value, const char *option);
    void chooseFormat(const QString &name);
    void ask(CommandLine::Request request);
    void takeList(const QString &list);
    void fail(const QString &fault);

    QStringList lists;
    bool isAsked = false;
};

// Only the first fault is reported.
void Reading::fail(const QString &fault)
{
    if (line.fault.isEmpty())
        line.fault = fault;
}

void Reading::ask(CommandLine::Request request)
{
    if (!isAsked)
        line.request = request;
    isAsked = true;
}

void Reading::choose(int *chosen, const QStringList &names, const QString &name, const char *option)
{
    const int number = names.indexOf(name);
    if (number < 0)
        fail(QStringLiteral("%1 : « %2 » n'existe pas ; voir --list")
                 .arg(QLatin1String(option), name));
    else
        *chosen = number;
}

void Reading::number(int *chosen, int lowest, int highest, const QString &value, const char *option)
{
    bool isNumber = false;
    const int number = value.toInt(&isNumber);
    if (!isNumber || number < lowest || number > highest)
        fail(QStringLiteral("%1 : un nombre entier de %2 à %3, pas « %4 »")
                 .arg(QLatin1String(option))
                 .arg(lowest)
                 .arg(highest)
                 .arg(value));
    else
        *chosen = number;
}

void Reading::coefficient(int *chosen, int which, const QString &value, const char *option)
{
    number(chosen, lowestCoefficient(which), highestCoefficient(which), value, option);
}

void Reading::chooseFormat(const QString &name)
{
    if (name == QLatin1String("png"))
        line.options.format = Options::Format::Png;
    else if (name == QLatin1String("jpg"))
        line.options.format = Options::Format::Jpeg;
    else
        fail(QStringLiteral("--format : png ou jpg, pas « %1 »").arg(name));
}

void Reading::take(int code, const QString &value)
{
    Options &options = line.options;
    switch (code) {
    case Effet:
        return choose(&options.settings.mode, modeNames(), value, "--effet");
    case Rendu:
        return choose(&options.settings.effect, effectNames(), value, "--rendu");
    case Contraste:
        return coefficient(&options.settings.contraste, 0, value, "--contraste");
    case Lumiere:
        return coefficient(&options.settings.lumiere, 1, value, "--lumiere");
    case Reglage:
        return coefficient(&options.reglage, 2, value, "--reglage");
    case 'o':
        options.folder = value;
        return value.isEmpty() ? fail(QStringLiteral("-o : le nom du dossier est vide")) : void();
    case Pdf:
        options.pdf = value;
        return value.isEmpty() ? fail(QStringLiteral("--pdf : le nom du fichier est vide"))
                               : void();
    case Format:
        return chooseFormat(value);
    case FilesFrom:
        if (value.isEmpty())
            return fail(QStringLiteral("--files-from : le nom du fichier est vide"));
        lists += value;
        return;
    case 'j':
        return number(&options.jobs, 1, mostJobs, value, "-j");
    case 'f':
        options.force = true;
        return;
    case 'q':
        options.quiet = true;
        return;
    case List:
        return ask(CommandLine::Request::List);
    case 'h':
        return ask(CommandLine::Request::Help);
    default:
        return ask(CommandLine::Request::Version);
    }
}

void Reading::takeLists()
{
    for (const QString &list : lists)
        takeList(list);
}

// One name per line.
void Reading::takeList(const QString &list)
{
    QFile file(list);
    const bool isOpen = list == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly)
                                                   : file.open(QIODevice::ReadOnly);
    if (!isOpen) {
        fail(QStringLiteral("--files-from : « %1 » ne peut pas être lu").arg(list));
        return;
    }
    for (QByteArray name : file.readAll().split('\n')) {
        if (name.endsWith('\r')) // a list from another system
            name.chop(1);
        if (!name.isEmpty())
            line.options.sources += pathOf(name);
    }
}

void Reading::check()
{
    const Options &options = line.options;
    if (options.folder.isEmpty() && options.pdf.isEmpty())
        fail(QStringLiteral("où mettre les résultats ? -o DOSSIER ou --pdf FICHIER"));
    if (!options.folder.isEmpty() && !options.pdf.isEmpty())
        fail(QStringLiteral("-o et --pdf ne vont pas ensemble"));
    if (!options.pdf.isEmpty() && options.format != Options::Format::Kept)
        fail(QStringLiteral("--format et --pdf ne vont pas ensemble"));
    // Without a name of its own for the document, a shell's *.jpg would name a picture as its
    // place.
    if (!options.pdf.isEmpty() && !options.pdf.endsWith(QLatin1String(".pdf"), Qt::CaseInsensitive))
        fail(QStringLiteral("--pdf : « %1 » ne finit pas par .pdf").arg(options.pdf));
    if (options.sources.isEmpty())
        fail(QStringLiteral("aucune image n'est donnée"));
}

// The option that getopt_long() rejected. It has gone past the word unless this one has more
// letters.
QString rejected(char **argv)
{
    QString word = QFile::decodeName(argv[optind - 1]);
    constexpr int lastOfAscii = 0x7E;
    if (optopt < 0 || (optopt > lastOfAscii && optopt < Effet)) // a byte of a longer letter
        return QFile::decodeName(argv[optind]);
    const bool isKnownLetter = optopt > 0 && optopt < Effet && std::strchr(letters, optopt);
    const bool isLong = word.startsWith(QLatin1String("--"));
    if (optopt == 0 || optopt >= Effet || (isKnownLetter && isLong))
        return word;
    return QLatin1Char('-') + QString(QLatin1Char(char(optopt)));
}

QString misused(char **argv)
{
    return QStringLiteral(
               "l'option « %1 » est inconnue, ambiguë, ou sa valeur manque ou est de trop")
        .arg(rejected(argv));
}

} // namespace

CommandLine readCommandLine(int argc, char **argv)
{
    Reading reading;
    reading.line.options.reglage = resetCoefficient(2);
    reading.line.options.jobs = qBound(1, QThread::idealThreadCount(), mostJobs);
    opterr = 0; // its own messages are in English
    optind = 0;
    for (;;) {
        const int code = getopt_long(argc, argv, letters, longOptions.data(), nullptr);
        if (code == -1)
            break;
        if (code == '?') {
            reading.line.fault = misused(argv);
            return reading.line;
        }
        const bool isPath = code == 'o' || code == Pdf || code == FilesFrom;
        reading.take(code, isPath ? pathOf(optarg) : QFile::decodeName(optarg));
    }
    if (reading.line.request != CommandLine::Request::Render)
        return reading.line;
    for (int i = optind; i < argc; ++i)
        reading.line.options.sources += pathOf(argv[i]);
    reading.takeLists();
    reading.check();
    return reading.line;
}

} // namespace kivra::rendu
