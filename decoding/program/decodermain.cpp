#include "decoding/program/decodermain.h"

#include "decoding/confined/protocol.h"
#include "decoding/program/confinement.h"
#include "decoding/program/service.h"

#include <QGuiApplication>
#include <QImageReader>
#include <QThreadPool>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kivra {

namespace {

// The platform for programs without a display: connects to none, but has the system's fonts.
void preparePlatform()
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("NO_AT_BRIDGE", "1");
}

// A heap for each thread would reserve address space, which is limited.
void keepThreadsFew()
{
    constexpr int mostThreads = 4;
    mallopt(M_ARENA_MAX, 1);
    QThreadPool *const pool = QThreadPool::globalInstance();
    pool->setMaxThreadCount(std::min(mostThreads, pool->maxThreadCount()));
}

bool isSocket(int descriptor)
{
    int kind = 0;
    socklen_t length = sizeof kind;
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &kind, &length) == 0 &&
           kind == SOCK_SEQPACKET;
}

// A confined process cannot write to a file, but standard output may be one. So a forked child is
// confined and reports to its parent through a pipe. Returns only in the child, whose descriptor 1
// is the pipe.
void becomeChildToCheck()
{
    int ends[2] = {-1, -1};
    const pid_t child = pipe(ends) == 0 ? fork() : -1;
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        return;
    }
    close(ends[1]);
    char words[4096] = {};
    ssize_t length = 0;
    while (child > 0 && (length = read(ends[0], words, sizeof words)) > 0)
        std::fwrite(words, 1, size_t(length), stdout);
    int status = 1;
    waitpid(child, &status, 0);
    std::exit(status == 0 ? 0 : 1);
}

} // namespace

int decoderMain(int argc, char **argv)
{
    const bool isCheck = argc == 2 && qstrcmp(argv[1], "--check") == 0;
    if (!isCheck && !isSocket(protocol::decoderSocket)) {
        std::fputs("kivra-decoder opens pictures for Kivra, which starts it; --check tells how it "
                   "is confined on this system.\n",
                   stderr);
        return 2;
    }
    if (isCheck)
        becomeChildToCheck();
    closefrom(isCheck ? protocol::decoderSocket : protocol::decoderSocket + 1);
    preparePlatform();
    QGuiApplication application(argc, argv);
    keepThreadsFew();
    QImageReader::supportedImageFormats(); // loads the plug-ins
    const Confinement confinement = confine();
    // _exit() in either case: the filter refuses most of what a normal exit does.
    if (isCheck) {
        const QByteArray words = inWords(confinement);
        const bool isTold =
            write(STDOUT_FILENO, words.constData(), size_t(words.size())) == words.size();
        _exit(isTold ? 0 : 1);
    }
    serve(protocol::decoderSocket);
    _exit(0);
}

} // namespace kivra
