#include "dialogs/fittingstyle.h"
#include "dialogs/preferences.h"
#include "tests/support/testmain.h"

#include <QCheckBox>
#include <QLabel>
#include <QPainter>
#include <utility>

namespace {

// The rectangle around all that is not background in a picture of a widget.
QRect inkOf(const QImage &picture)
{
    const QRgb background = picture.pixel(picture.width() - 1, 0);
    QRect ink;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixel(x, y) != background)
                ink |= QRect(x, y, 1, 1);
        }
    }
    return ink;
}

// The widget's picture without what stands left of its text.
QImage textOf(QWidget &widget)
{
    const QImage picture = widget.grab().toImage();
    const int left = qobject_cast<QCheckBox *>(&widget) ? widget.height() + 2 : 0;
    return picture.copy(picture.rect().adjusted(left, 0, 0, 0));
}

QFont letters(int pixels)
{
    QFont font = QApplication::font();
    font.setPixelSize(pixels);
    return font;
}

QLabel *makeLabel(QWidget &parent, const QString &text, const QSize &size, int pixels)
{
    auto *label = new QLabel(text, &parent);
    label->setFont(letters(pixels));
    label->resize(size);
    return label;
}

} // namespace

class TestFittingStyle : public QObject
{
    Q_OBJECT

private slots:
    void textThatFitsIsPaintedAsWithoutIt()
    {
        QWidget parent;
        QLabel *label = makeLabel(parent, QStringLiteral("au démarrage"), {300, 60}, 20);
        const QImage before = label->grab().toImage();
        new FittingStyle({label}, &parent);
        QCOMPARE(label->grab().toImage(), before);
    }

    void textTooWideIsPaintedWhole()
    {
        QWidget parent;
        QLabel *label = makeLabel(parent, QStringLiteral("en fonctionnement"), {100, 60}, 30);
        const QRect cut = inkOf(label->grab().toImage());
        QVERIFY(cut.right() >= 98);
        new FittingStyle({label}, &parent);
        const QRect whole = inkOf(label->grab().toImage());
        QVERIFY(whole.right() < 100);
        QVERIFY(whole.width() > 70);
        QVERIFY(whole.height() < cut.height());
    }

    void textTooHighIsPaintedWhole()
    {
        QWidget parent;
        QLabel *label = makeLabel(parent, QStringLiteral("dg"), {300, 20}, 40);
        QCOMPARE(inkOf(label->grab().toImage()).height(), 20);
        new FittingStyle({label}, &parent);
        QVERIFY(inkOf(label->grab().toImage()).height() < 20);
    }

    void widgetsOfAGroupShareTheirSize()
    {
        for (const bool narrowFirst : {true, false}) {
            QWidget parent;
            QLabel *narrow = makeLabel(parent, QStringLiteral("dddddddd"), {60, 60}, 30);
            QLabel *roomy = makeLabel(parent, QStringLiteral("d"), {300, 60}, 30);
            const int alone = inkOf(roomy->grab().toImage()).height();
            std::vector<QWidget *> group{narrow, roomy};
            if (!narrowFirst)
                std::swap(group[0], group[1]);
            new FittingStyle(group, &parent);
            const int together = inkOf(roomy->grab().toImage()).height();
            QVERIFY(together < alone);
            QCOMPARE(inkOf(narrow->grab().toImage()).height(), together);
        }
    }

    void painterKeepsItsFont()
    {
        QWidget parent;
        QLabel *label = makeLabel(parent, QStringLiteral("en fonctionnement"), {50, 20}, 30);
        const auto *style = new FittingStyle({label}, &parent);
        QPixmap canvas(label->size());
        QPainter painter(&canvas);
        painter.setFont(label->font());
        style->drawItemText(&painter, canvas.rect(), Qt::AlignLeft, label->palette(), true,
                            label->text(), QPalette::WindowText);
        QCOMPARE(painter.font(), label->font());
    }

    void fontsOfTheWidgetsStay()
    {
        QWidget parent;
        QLabel *label = makeLabel(parent, QStringLiteral("en fonctionnement"), {50, 20}, 30);
        const QFont given = label->font();
        new FittingStyle({label}, &parent);
        label->grab();
        QCOMPARE(label->font(), given);
    }

    void noRoomAtAllIsSurvived()
    {
        QWidget parent;
        QLabel *label = makeLabel(parent, QStringLiteral("texte"), {0, 0}, 30);
        QLabel *thin = makeLabel(parent, QStringLiteral("texte"), {1, 1}, 30);
        new FittingStyle({label, thin}, &parent);
        parent.grab();
        thin->grab();
    }

    void indicatorIsNoHigherThanItsBox()
    {
        QWidget parent;
        QCheckBox box(QStringLiteral("texte"), &parent);
        box.resize(200, 9);
        new FittingStyle({&box}, &parent);
        QCOMPARE(box.style()->pixelMetric(QStyle::PM_IndicatorHeight, nullptr, &box), 9);
        box.resize(200, 100);
        QCOMPARE(box.style()->pixelMetric(QStyle::PM_IndicatorHeight, nullptr, &box),
                 QApplication::style()->pixelMetric(QStyle::PM_IndicatorHeight, nullptr, &box));
    }

    void preferencesShowTheirTextsWhole_data()
    {
        QTest::addColumn<int>("pixels");
        for (const int pixels : {10, 12, 14, 16, 18, 20, 24, 32, 48})
            QTest::addRow("letters of %d pixels", pixels) << pixels;
    }

    // A text is whole when its paint keeps clear of the widget's right edge, top and bottom rows
    // (which the shapes of letters never reach within their line).
    void preferencesShowTheirTextsWhole()
    {
        QFETCH(const int, pixels);
        const QFont before = QApplication::font();
        QApplication::setFont(letters(pixels));
        {
            preferences dialog;
            // The form's own size of 16 points, at a resolution where that is twice these letters.
            for (auto *label : dialog.findChildren<QLabel *>())
                label->setFont(letters(2 * pixels));
            dialog.show();
            const QList<QWidget *> widgets =
                dialog.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
            for (QWidget *widget : widgets) {
                if (widget->property("text").isNull())
                    continue;
                const QImage text = textOf(*widget);
                const QRect ink = inkOf(text);
                const QByteArray name = widget->objectName().toLocal8Bit();
                QVERIFY2(ink.width() > 40, name);
                QVERIFY2(ink.right() < text.width() - 1, name);
                QVERIFY2(ink.bottom() < text.height() - 1, name);
            }
        }
        QApplication::setFont(before);
    }

    void preferencesShowTheirHeadingsWholeAsGiven()
    {
        preferences dialog;
        dialog.show();
        for (auto *label : dialog.findChildren<QLabel *>()) {
            const QImage picture = label->grab().toImage();
            const QRect ink = inkOf(picture);
            QVERIFY(ink.bottom() < picture.height() - 1);
            QVERIFY(ink.top() > 0);
        }
    }
};

KIVRA_TEST(TestFittingStyle)
#include "test_fittingstyle.moc"
