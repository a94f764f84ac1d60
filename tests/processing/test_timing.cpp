#include "processing/timing.h"
#include "tests/support/testmain.h"

#include <opencv2/core/utility.hpp>

class TestTiming : public QObject
{
    Q_OBJECT

private slots:
    void ticIsTheClockOfOpenCv()
    {
        const auto before = static_cast<double>(cv::getTickCount());
        const double stamp = tic();
        const auto after = static_cast<double>(cv::getTickCount());
        QVERIFY(before <= stamp && stamp <= after);
    }

    void tocCountsSeconds()
    {
        const double hourAgo = tic() - 3600 * cv::getTickFrequency();
        const double lower = toc(hourAgo);
        QVERIFY(lower >= 3600);
        QVERIFY(toc(hourAgo) >= lower);
        QVERIFY(lower < 7200);
    }
};

KIVRA_TEST(TestTiming)
#include "test_timing.moc"
