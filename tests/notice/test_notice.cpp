// The manual is true where a test can tell: the texts of the program that it quotes are the
// program's, its keys do something, no key is missing, its pictures are there.

#include "tests/app/windowtest.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QSet>
#include <QXmlStreamReader>

using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

QString contentOf(const QString &path)
{
    QFile file(QStringLiteral(KIVRA_SOURCES "/") + path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    return QString::fromUtf8(file.readAll());
}

struct Manual
{
    QSet<QString> programTexts; // marked as texts of menus and dialogs
    QSet<QString> messages;     // marked as what the program shows
    QSet<QString> keys;
    QSet<QString> keysOfThePage; // of the page with all keys
    QStringList pictures;
    QStringList anchors;
    QStringList links;
    QString error;
};

void addText(Manual *manual, const QXmlStreamReader &xml, const QStringList &marks, bool onKeyPage)
{
    const QString text = xml.text().toString();
    if (marks.last() == QLatin1String("ui"))
        manual->programTexts += text;
    else if (marks.last() == QLatin1String("msg"))
        manual->messages += text;
    else if (marks.last() == QLatin1String("kbd")) {
        manual->keys += text;
        if (onKeyPage)
            manual->keysOfThePage += text;
    }
}

Manual readManual()
{
    Manual manual;
    QXmlStreamReader xml(contentOf(QStringLiteral("docs/notice/notice.html")));
    QStringList marks{QString()}; // of the elements that are open: class if it has one, else name
    bool onKeyPage = false;       // it is the last section
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement()) {
            const QXmlStreamAttributes with = xml.attributes();
            const QString kind = with.value(QLatin1String("class")).toString();
            marks += kind.isEmpty() ? xml.name().toString() : kind;
            onKeyPage = onKeyPage || with.value(QLatin1String("id")) == QLatin1String("keys");
            if (with.hasAttribute(QLatin1String("id")))
                manual.anchors += QLatin1Char('#') + with.value(QLatin1String("id"));
            if (xml.name() == QLatin1String("a"))
                manual.links += with.value(QLatin1String("href")).toString();
            if (xml.name() == QLatin1String("img"))
                manual.pictures += with.value(QLatin1String("src")).toString();
        } else if (xml.isEndElement()) {
            marks.removeLast();
        } else if (xml.isCharacters()) {
            addText(&manual, xml, marks, onKeyPage);
        }
    }
    manual.error = xml.hasError() ? xml.errorString() : QString();
    return manual;
}

// Every text of the forms, and what the dialogs add.
QSet<QString> textsOfTheForms()
{
    QSet<QString> texts;
    for (const char *form :
         {"app/camera.ui", "dialogs/preferences.ui", "dialogs/imagesettings.ui"}) {
        QXmlStreamReader xml(contentOf(QLatin1String(form)));
        while (!xml.atEnd()) {
            if (xml.readNext() == QXmlStreamReader::StartElement &&
                xml.name() == QLatin1String("string"))
                texts += xml.readElementText();
        }
    }
    return texts;
}

QString sourcesOfTheWindow()
{
    QString sources;
    const QDir folder(QStringLiteral(KIVRA_SOURCES "/app"));
    for (const QString &file : folder.entryList({QStringLiteral("*.cpp")}))
        sources += contentOf(QStringLiteral("app/") + file);
    return sources;
}

// Keys that the manual names in French.
const std::pair<const char *, Qt::Key> namedKeys[] = {
    {"Espace", Qt::Key_Space},
    {"Retour arrière", Qt::Key_Backspace},
    {"+", Qt::Key_Plus},
    {"−", Qt::Key_Minus},
    {"↑", Qt::Key_Up},
    {"↓", Qt::Key_Down},
    {"←", Qt::Key_Left},
    {"Appareil photo", Qt::Key_Camera},
    {"Mise au point", Qt::Key_CameraFocus},
};
// Keys of Qt's menus and dialogs.
const char *const generalKeys[] = {"Alt", "→", "Entrée", "Échap", "Tab"};

Qt::Key namedKey(const QString &name)
{
    for (const auto &[text, key] : namedKeys) {
        if (name == QString::fromUtf8(text))
            return key;
    }
    return Qt::Key_unknown;
}

} // namespace

class TestNotice : public WindowTest
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        manual = readManual();
        QCOMPARE(manual.error, QString());
    }

    void init()
    {
        begin();
        window = std::make_unique<Window>();
    }

    void quotedTextsAreTheProgramsOwn()
    {
        QVERIFY(manual.programTexts.size() > 30);
        const QSet<QString> foreign = manual.programTexts - textsOfTheForms();
        QVERIFY2(foreign.isEmpty(), qPrintable(QStringList(foreign.values()).join(", ")));
        const QString sources = sourcesOfTheWindow();
        for (const QString &message : qAsConst(manual.messages))
            QVERIFY2(sources.contains(QLatin1Char('"') + message + QLatin1Char('"')),
                     qPrintable(message));
    }

    void everyMenuEntryIsExplained()
    {
        for (const QAction *title : window->menuBar()->actions()) {
            QVERIFY2(manual.programTexts.contains(title->text()), qPrintable(title->text()));
            for (const QAction *action : title->menu()->actions()) {
                const bool camera = action->data().isValid();
                if (!action->isSeparator() && !camera)
                    QVERIFY2(manual.programTexts.contains(action->text()),
                             qPrintable(action->text()));
            }
        }
    }

    void keysDoSomething()
    {
        for (const QString &name : qAsConst(manual.keys)) {
            const bool general =
                std::any_of(std::begin(generalKeys), std::end(generalKeys),
                            [&](const char *key) { return name == QString::fromUtf8(key); });
            const bool does = general || isShortcut(name) || windowTakes(namedKey(name));
            QVERIFY2(does, qPrintable(name));
        }
    }

    void keyPageIsComplete()
    {
        for (const QAction *action : window->findChildren<QAction *>()) {
            const QString keys = action->shortcut().toString(QKeySequence::PortableText);
            if (!keys.isEmpty())
                QVERIFY2(manual.keysOfThePage.contains(keys), qPrintable(keys));
        }
        for (const auto &[name, key] : namedKeys)
            QVERIFY2(manual.keysOfThePage.contains(QString::fromUtf8(name)), name);
    }

    void picturesAndLinksLeadSomewhere()
    {
        QVERIFY(manual.pictures.size() > 20);
        for (const QString &picture : qAsConst(manual.pictures)) {
            const QString path = QStringLiteral(KIVRA_SOURCES "/docs/notice/") + picture;
            QVERIFY2(QFileInfo::exists(path), qPrintable(picture));
        }
        for (const QString &link : qAsConst(manual.links))
            QVERIFY2(manual.anchors.contains(link), qPrintable(link));
    }

private:
    bool isShortcut(const QString &name) const
    {
        const QKeySequence keys(name, QKeySequence::PortableText);
        const auto actions = window->findChildren<QAction *>();
        return std::any_of(actions.begin(), actions.end(), [&](const QAction *action) {
            return !action->shortcut().isEmpty() && action->shortcut() == keys;
        });
    }

    // A key that the window has no use for stays unaccepted.
    bool windowTakes(Qt::Key key) const
    {
        // There are no stored pictures to browse.
        if (key == Qt::Key_Space || key == Qt::Key_Backspace)
            boxes->expect(QStringLiteral("échec chargement de fichier"));
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(window.get(), &press);
        return press.isAccepted() && boxes->verify().isEmpty();
    }

    Manual manual;
};

KIVRA_TEST(TestNotice)
#include "test_notice.moc"
