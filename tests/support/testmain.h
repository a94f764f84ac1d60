#pragma once

#include <QTest>

namespace kivra::test {

/// Registers a test class with the program that runs it: a static object beside the class.
class Registration
{
public:
    /// Runs the class with QtTest's arguments; 0 when all its functions passed.
    using Run = int (*)(int argc, char **argv);

    /// \a source is the path of the class's source file. The subject, by which the program is asked
    /// to run the class, is that file's name without "test_" and suffix.
    Registration(const char *source, Run run);
};

/// Holds the registration of a class under the name of the class, so that no two collide.
template<class TestClass>
struct Registered
{
    static const Registration registration;
};

} // namespace kivra::test

/// Registers \a TestClass, a QObject whose private slots are the tests. Used once per source,
/// outside of namespaces.
#define KIVRA_TEST(TestClass)                                                                      \
    template<>                                                                                     \
    const kivra::test::Registration kivra::test::Registered<TestClass>::registration(              \
        __FILE__, [](int argc, char **argv) {                                                      \
            TestClass test;                                                                        \
            return QTest::qExec(&test, argc, argv);                                                \
        });
