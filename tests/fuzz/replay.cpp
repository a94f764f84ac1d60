#include "tests/fuzz/target.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <cstdio>

// Runs every input of the kept corpus once; needs no fuzzer.
// Usage: replay_TARGET CORPUS_FOLDER
int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: replay_TARGET CORPUS_FOLDER\n");
        return 2;
    }
    const auto surroundings = kivra::fuzz::prepare(argc, argv);
    const QDir corpus(QFile::decodeName(argv[1]));
    const QStringList names = corpus.entryList(QDir::Files, QDir::Name);
    for (const QString &name : names) {
        QFile file(corpus.filePath(name));
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "cannot read %s\n", qPrintable(name));
            return 2;
        }
        std::printf("%s\n", qPrintable(name)); // the failing input is the last one printed
        std::fflush(stdout);
        const QByteArray input = file.readAll();
        kivra::fuzz::run(reinterpret_cast<const std::uint8_t *>(input.constData()),
                         static_cast<std::size_t>(input.size()));
    }
    std::printf("%d inputs\n", static_cast<int>(names.size()));
    return names.isEmpty() ? 1 : 0;
}
