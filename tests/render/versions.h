#pragma once

#include "render/kernels/kernels.h"
#include "tests/support/testmain.h"

#include <vector>

namespace kivra::test {

/// The versions of the kernels that are tested: those that this machine has, the best last, or only
/// the one that KIVRA_ISA names. Found out at the first call, before any other version is used.
const std::vector<Isa> &testedVersions();

/// Runs \a run once with each of these versions. 0 if all runs gave 0.
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
