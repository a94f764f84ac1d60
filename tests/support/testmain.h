#pragma once

#include "tests/support/sandbox.h"

#include <QApplication>
#include <QTest>

/// The main function of a test program whose one QObject with the test slots is \a TestClass.
#define KIVRA_TEST_MAIN(TestClass)                                                                 \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        const kivra::test::Sandbox sandbox;                                                        \
        QApplication application(argc, argv);                                                      \
        TestClass test;                                                                            \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
