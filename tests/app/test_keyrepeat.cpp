// Auto-repeats of a held key that the window system's plug-in takes for new presses.

#include "app/keyrepeat.h"
#include "tests/support/testmain.h"

#include <QKeyEvent>
#include <QWidget>
#include <QWindow>

namespace {

struct Press
{
    int key;
    bool repeated;
    QString text;
};

class Listener : public QWidget
{
public:
    QList<Press> presses;

protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        presses.append({event->key(), event->isAutoRepeat(), event->text()});
    }
};

} // namespace

class TestKeyRepeat : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        filter = std::make_unique<KeyRepeat>();
        qApp->installEventFilter(filter.get());
        widget = std::make_unique<Listener>();
        widget->show();
        widget->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(widget.get()));
    }

    void cleanup()
    {
        widget.reset();
        filter.reset();
    }

    void pressAfterARelease_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<ulong>("time");
        QTest::addColumn<bool>("repeated");
        QTest::newRow("at the same time") << int(Qt::Key_S) << 500UL << true;
        QTest::newRow("a millisecond later") << int(Qt::Key_S) << 501UL << false;
        QTest::newRow("of another key") << int(Qt::Key_T) << 500UL << false;
    }

    void pressAfterARelease()
    {
        QFETCH(int, key);
        QFETCH(ulong, time);
        QFETCH(bool, repeated);
        send(QEvent::KeyRelease, Qt::Key_S, 500);
        QCOMPARE(send(QEvent::ShortcutOverride, key, time), repeated);
        send(QEvent::KeyPress, key, time);
        QCOMPARE(widget->presses.size(), 1);
        QCOMPARE(widget->presses.constFirst().key, key);
        QCOMPARE(widget->presses.constFirst().repeated, repeated);
        QCOMPARE(widget->presses.constFirst().text, QStringLiteral("s"));
    }

    void timesThatAreNotKnown()
    {
        send(QEvent::KeyRelease, Qt::Key_S, 0);
        send(QEvent::KeyPress, Qt::Key_S, 0);
        QVERIFY(!widget->presses.constFirst().repeated);
    }

    void knownRepetitionsPass()
    {
        send(QEvent::KeyRelease, Qt::Key_S, 500, true);
        QVERIFY(!send(QEvent::ShortcutOverride, Qt::Key_S, 500, true));
        send(QEvent::KeyPress, Qt::Key_S, 500, true);
        QCOMPARE(widget->presses.size(), 1);
        QVERIFY(widget->presses.constFirst().repeated);
    }

private:
    // Sends a key event to the window as the window system does; true if it was accepted.
    bool send(QEvent::Type type, int key, ulong time, bool repeated = false) const
    {
        QKeyEvent event(type, key, Qt::NoModifier, QStringLiteral("s"), repeated);
        event.setTimestamp(time);
        event.ignore();
        QCoreApplication::sendEvent(widget->windowHandle(), &event);
        return event.isAccepted();
    }

    std::unique_ptr<KeyRepeat> filter;
    std::unique_ptr<Listener> widget;
};

KIVRA_TEST(TestKeyRepeat)
#include "test_keyrepeat.moc"
