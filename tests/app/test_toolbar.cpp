// The tool bar and presses on the picture: a double click never hits a button, and the keyboard
// stays with the window.

#include "tests/app/windowtest.h"
#include "tests/support/testmain.h"

#include <QClipboard>
#include <QSignalSpy>
#include <QTimer>
#include <QToolBar>

using kivra::test::WindowTest;

class TestToolBar : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        openWindow();
        toolBar = window->find<QToolBar>("toolBar");
        view = window->probe.view();
        captures = std::make_unique<QSignalSpy>(view, &PixmapWidget::captureImage);
    }

    void secondPressIsThePictures()
    {
        QSignalSpy zoom(window->action("actionZoom"), &QAction::triggered);
        pressWhereZoomComes();
        QVERIFY(view->busy);
        release();
        QVERIFY(!view->busy);
        pressZoom();
        QCOMPARE(captures->count(), 1);
        QVERIFY(view->busy);
        release();
        QVERIFY(!view->busy); // the release was the picture's too
        QCOMPARE(zoom.count(), 0);
        QTRY_COMPARE(device().record().stills.size(), 1);
    }

    void secondPressOnExitEndsNothing()
    {
        const QPoint place = placeOf("actionExit");
        press(place);
        release(place);
        QTRY_VERIFY(isUnder(place, "actionExit"));
        press(place);
        release(place);
        QCOMPARE(captures->count(), 1);
        QVERIFY(window->isVisible());
        QTRY_COMPARE(device().record().stills.size(), 1);
    }

    void thirdPressIsThePicturesToo()
    {
        pressWhereZoomComes();
        release();
        pressZoom();
        release();
        pressZoom();
        release();
        QCOMPARE(captures->count(), 2);
    }

    void buttonsWorkOnceTheDoubleClickIsOver()
    {
        QSignalSpy zoom(window->action("actionZoom"), &QAction::triggered);
        pressWhereZoomComes();
        release();
        waitForTheDoubleClick();
        pressZoom();
        release();
        QCOMPARE(zoom.count(), 1);
        QCOMPARE(captures->count(), 0);
    }

    void buttonsOfABarThatWasThereWorkAtOnce()
    {
        QSignalSpy zoom(window->action("actionZoom"), &QAction::triggered);
        window->trigger("actionMenu_graphique");
        QTRY_VERIFY(isUnder(placeOf("actionZoom"), "actionZoom"));
        const QPoint onPicture = view->mapTo(window.get(), view->rect().center());
        press(onPicture);
        release(onPicture);
        pressZoom();
        release();
        QCOMPARE(zoom.count(), 1);
        QCOMPARE(captures->count(), 0);
    }

    void dragOfTheSecondPressMovesThePicture()
    {
        pressWhereZoomComes();
        release();
        pressZoom();
        QSignalSpy zoom(window->action("actionZoom"), &QAction::triggered);
        QTest::mouseMove(window->windowHandle(), placeOf("actionZoom") + QPoint(30, 40));
        QCoreApplication::processEvents();
        QVERIFY(view->busy);
        release(placeOf("actionZoom") + QPoint(30, 40));
        QVERIFY(!view->busy);
        QCOMPARE(zoom.count(), 0);
    }

    // As if pulled off at its handle, the tool bar is a window of its own.
    void buttonOfABarPulledOffLeavesTheKeyboardToTheWindow()
    {
        toolBar->setWindowFlag(Qt::Tool);
        toolBar->show();
        QVERIFY(toolBar->isFloating());
        for (const char *name : {"actionZoom", "actionIncCoef"}) {
            toolBar->activateWindow();
            QTRY_COMPARE(QApplication::activeWindow(), static_cast<QWidget *>(toolBar));
            QTest::mouseClick(toolBar->widgetForAction(window->action(name)), Qt::LeftButton);
            QTRY_COMPARE(QApplication::activeWindow(), static_cast<QWidget *>(window.get()));
            const int before = window->probe.coefZoom();
            QTest::keyClick(QApplication::focusWindow(), Qt::Key_Up);
            QVERIFY(window->probe.coefZoom() > before);
        }
    }

private:
    // Where the button is, or will be, in the window.
    QPoint placeOf(const char *action) const
    {
        const bool wasVisible = toolBar->isVisible();
        toolBar->show();
        window->layout()->activate();
        const QWidget *const button = toolBar->widgetForAction(window->action(action));
        const QPoint place = button->mapTo(window.get(), button->rect().center());
        toolBar->setVisible(wasVisible);
        window->layout()->activate();
        return place;
    }

    bool isUnder(const QPoint &place, const char *action) const
    {
        return window->childAt(place) == toolBar->widgetForAction(window->action(action));
    }

    void press(const QPoint &place) const
    {
        QTest::mousePress(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, place);
        QCoreApplication::processEvents();
    }

    void release(const QPoint &place) const
    {
        QTest::mouseRelease(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, place);
        QCoreApplication::processEvents();
    }

    void release() const { release(zoomPlace); }

    void pressWhereZoomComes()
    {
        zoomPlace = placeOf("actionZoom");
        press(zoomPlace);
        QVERIFY(toolBar->isVisible());
    }

    void pressZoom()
    {
        zoomPlace = placeOf("actionZoom");
        QTRY_VERIFY(isUnder(zoomPlace, "actionZoom"));
        press(zoomPlace);
    }

    static void waitForTheDoubleClick()
    {
        bool isOver = false;
        QTimer::singleShot(2 * PixmapWidget::doubleClickMs, [&] { isOver = true; });
        QTRY_VERIFY(isOver);
    }

    QToolBar *toolBar = nullptr;
    PixmapWidget *view = nullptr;
    std::unique_ptr<QSignalSpy> captures;
    QPoint zoomPlace;
};

KIVRA_TEST(TestToolBar)
#include "test_toolbar.moc"
