#pragma once

#include "tests/fuzz/target.h"
#include "tests/support/keptmemory.h"
#include "tests/support/sandbox.h"

#include <QApplication>

namespace kivra::fuzz {

/// What the window needs around it: a home of its own and an application. Drops all that is logged.
struct Desktop : Surroundings
{
    test::Sandbox sandbox;
    std::unique_ptr<QApplication> application;

    Desktop(int &argc, char **argv)
        : application(test::makeKept<QApplication>(argc, argv))
    {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    }
};

} // namespace kivra::fuzz
