#pragma once

#include "tests/support/testmain.h"

namespace kivra::test {

/// Runs \a run once for each version of the kernels that this machine has, or only for the one that
/// KIVRA_ISA names. 0 if all runs gave 0.
int runForEachVersion(Registration::Run run, int argc, char **argv);

} // namespace kivra::test

/// Like KIVRA_TEST, for operations that have a version for each instruction set.
#define KIVRA_TEST_EACH_VERSION(TestClass)                                                         \
    template<>                                                                                     \
    const kivra::test::Registration kivra::test::Registered<TestClass>::registration(              \
        __FILE__, [](int argc, char **argv) {                                                      \
            return kivra::test::runForEachVersion(                                                 \
                [](int count, char **arguments) {                                                  \
                    TestClass test;                                                                \
                    return QTest::qExec(&test, count, arguments);                                  \
                },                                                                                 \
                argc, argv);                                                                       \
        });
