#include "tests/support/testmain.h"

#include "tests/support/keptmemory.h"
#include "tests/support/sandbox.h"

#include <QApplication>
#include <QFileInfo>
#include <cstdio>
#include <map>

namespace kivra::test {

namespace {

std::map<QByteArray, Registration::Run> &registered()
{
    static std::map<QByteArray, Registration::Run> all;
    return all;
}

} // namespace

Registration::Registration(const char *source, Run run)
{
    const QByteArray subject = QFileInfo(QLatin1String(source)).baseName().mid(5).toLatin1();
    registered()[subject] = run;
}

} // namespace kivra::test

// Usage: test_ROOM SUBJECT [arguments of QtTest]. One class per process: the tests count on
// settings and plug-ins that nobody has used before.
int main(int argc, char **argv)
{
    using namespace kivra::test;
    const auto chosen = registered().find(argc > 1 ? argv[1] : "");
    if (chosen == registered().end()) {
        std::fprintf(stderr, "usage: %s SUBJECT [arguments of QtTest], of these subjects:\n",
                     argv[0]);
        for (const auto &[subject, run] : registered())
            std::fprintf(stderr, "  %s\n", subject.constData());
        return 2;
    }
    argv[1] = argv[0];
    int count = argc - 1;
    const Sandbox sandbox;
    const auto application = makeKept<QApplication>(count, argv + 1);
    return chosen->second(count, argv + 1);
}
