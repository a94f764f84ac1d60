// What the form gives: actions, menus, tool bar, widgets, and the window's slots.

#include "tests/app/window.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

#include <QActionGroup>
#include <QFile>
#include <QGridLayout>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMetaMethod>
#include <QStatusBar>
#include <QToolBar>

using kivra::test::Window;

namespace {

enum Check { Plain, Checkable, Checked };

struct ActionRow
{
    const char *name;
    const char *text;
    const char *shortcut; // in the running window
    const char *icon;
    Check check;
    const char *slot;
};

// In the order of creation.
const ActionRow actionTable[] = {
    {"actionExit", "Exit", "Alt+F4", "Delete", Plain, "close()"},
    {"actionStartCamera", "Start Camera", "Ctrl+K", "", Plain, "startCamera()"},
    {"actionStopCamera", "Stop Camera", "Ctrl+K", "", Plain, "stopCamera()"},
    {"actionCamera", "Caméra", "", "Play", Plain, "on_actionCamera_triggered()"},
    {"actionImageSettings", "Image settings", "F8", "", Plain,
     "on_actionImageSettings_triggered()"},
    {"actionEnregistrer_image", "Enregistrer Image", "Ctrl+S", "", Plain,
     "on_actionEnregistrer_image_triggered()"},
    {"actionNegatif", "Négatif", "Ctrl+I", "", Checkable, "on_actionNegatif_triggered()"},
    {"actionEffet", "Changer effet", "F7", "opendocument.text", Plain,
     "on_actionEffet_triggered()"},
    {"actionTailleFenetre", "Taille fenêtre", "F5", "resize", Plain,
     "on_actionTailleFenetre_triggered()"},
    {"actionMiseAJour", "Mise à jour", "", "", Plain, "on_actionMiseAJour_triggered()"},
    {"actionInfoSysteme", "Info Système", "F3", "", Plain, "on_actionInfoSysteme_triggered()"},
    {"actionOuvrir_Image", "Ouvrir Image ...", "Ctrl+O", "", Plain,
     "on_actionOuvrir_Image_triggered()"},
    {"actionReinit", "Réinit", "Ctrl+Z", "", Plain, "on_actionReinit_triggered()"},
    {"actionMode", "Changer rendu", "F6", "Colours_RGB", Plain, "on_actionMode_triggered()"},
    {"actionNoir_et_blanc", "Noir et blanc", "Ctrl+C", "", Checkable,
     "on_actionNoir_et_blanc_triggered()"},
    {"actionBicolore", "Bicolore", "Ctrl+B", "", Checkable, "on_actionBicolore_triggered()"},
    {"actionNormal", "Normal", "", "", Checked, "on_actionNormal_triggered()"},
    {"actionTrNormal", "Normal", "", "", Checked, "on_actionTrNormal_triggered()"},
    {"actionAutomatique", "Automatique", "", "", Checkable, "on_actionAutomatique_triggered()"},
    {"actionEclairage_difficile", "Eclairage difficile", "", "", Checkable,
     "on_actionEclairage_difficile_triggered()"},
    {"actionTexte", "Texte", "", "", Checkable, "on_actionTexte_triggered()"},
    {"actionTexte_manuscrit", "Texte manuscrit", "", "", Checkable,
     "on_actionTexte_manuscrit_triggered()"},
    {"actionTableau_vert", "Tableau vert", "", "", Checkable, "on_actionTableau_vert_triggered()"},
    {"actionEffet_artistique", "Effet artistique", "", "", Checkable,
     "on_actionEffet_artistique_triggered()"},
    {"actionAide", "Aide", "F1", "Information", Plain, "on_actionAide_triggered()"},
    {"actionA_propos", "A propos", "F4", "", Plain, "on_actionA_propos_triggered()"},
    {"actionMenu_graphique", "menu graphique", "Ctrl+M", "", Plain,
     "on_actionMenu_graphique_triggered()"},
    {"actionPreferences", "Préférences", "", "", Plain, "on_actionPreferences_triggered()"},
    {"actionLumiere", "Lumière", "L", "brightness", Plain, "on_actionLumiere_triggered()"},
    {"actionContraste", "Contraste", "C", "contrast", Plain, "on_actionContraste_triggered()"},
    {"actionReglageCourant", "Réglage courant", "R", "tool-node-editor", Plain,
     "on_actionReglageCourant_triggered()"},
    {"actionZoom", "Zoom", "Z", "ZoomIn", Plain, "on_actionZoom_triggered()"},
    {"actionIncCoef", "IncCoef", "", "arrow_up", Plain, "on_actionIncCoef_triggered()"},
    {"actionDecCoef", "DecCoef", "", "arrow_down", Plain, "on_actionDecCoef_triggered()"},
    {"actionResetCoef", "ResetCoef", "", "arrow_left", Plain, "on_actionResetCoef_triggered()"},
};

// The shortcuts that the form itself gives, before the window adds its own.
const std::pair<const char *, const char *> formShortcuts[] = {
    {"actionStartCamera", "Ctrl+K"},
    {"actionStopCamera", "Ctrl+K"},
    {"actionEnregistrer_image", "Ctrl+S"},
    {"actionOuvrir_Image", "Ctrl+O"},
    {"actionReinit", "Ctrl+Z"},
    {"actionLumiere", "L"},
    {"actionContraste", "C"},
    {"actionReglageCourant", "R"},
    {"actionZoom", "Z"},
};

const char *const slotTable[] = {
    "orientationEcran(QRect)",
    "displayOnStatusBar(QString)",
    "displayMsg(QString)",
    "setCamera(QByteArray)",
    "startCamera()",
    "stopCamera()",
    "toggleLock()",
    "takeImage()",
    "displayCaptureError(int,QCameraImageCapture::Error,QString)",
    "configureImageSettings()",
    "displayCameraError()",
    "updateCameraDevice(QAction*)",
    "updateCameraState(QCamera::State)",
    "setExposureCompensation(int)",
    "processCapturedImage(int,QImage)",
    "updateLockStatus(QCamera::LockStatus,QCamera::LockChangeReason)",
    "readyForCapture(bool)",
    "imageSaved(int,QString)",
    "on_actionImageSettings_triggered()",
    "on_actionEnregistrer_image_triggered()",
    "on_actionNegatif_triggered()",
    "on_actionEffet_triggered()",
    "displayImage()",
    "on_actionTailleFenetre_triggered()",
    "on_actionMiseAJour_triggered()",
    "on_actionInfoSysteme_triggered()",
    "on_actionOuvrir_Image_triggered()",
    "on_actionMode_triggered()",
    "on_changeCoef(int,int)",
    "on_resetCoef()",
    "on_incCoef()",
    "on_decCoef()",
    "aTimerSlot()",
    "bTimerSlot()",
    "updateDisplay()",
    "fProcessing(QImage*,int,int)",
    "on_actionNoir_et_blanc_triggered()",
    "on_actionBicolore_triggered()",
    "on_actionNormal_triggered()",
    "on_actionTrNormal_triggered()",
    "on_actionAutomatique_triggered()",
    "on_actionEclairage_difficile_triggered()",
    "on_actionTexte_triggered()",
    "on_actionTexte_manuscrit_triggered()",
    "on_actionTableau_vert_triggered()",
    "on_actionEffet_artistique_triggered()",
    "on_actionAide_triggered()",
    "on_actionA_propos_triggered()",
    "on_actionMenu_graphique_triggered()",
    "on_actionPreferences_triggered()",
    "on_actionLumiere_triggered()",
    "on_actionReinit_triggered()",
    "on_actionContraste_triggered()",
    "on_actionReglageCourant_triggered()",
    "on_actionZoom_triggered()",
    "on_actionCamera_triggered()",
    "on_actionIncCoef_triggered()",
    "on_actionDecCoef_triggered()",
    "on_actionResetCoef_triggered()",
    "show_Menu_graphique(bool)",
};

const std::pair<const char *, QByteArrayList> parameterNames[] = {
    {"setCamera(QByteArray)", {"cameraDevice"}},
    {"updateCameraDevice(QAction*)", {"action"}},
    {"setExposureCompensation(int)", {"index"}},
    {"processCapturedImage(int,QImage)", {"requestId", "img"}},
    {"readyForCapture(bool)", {"ready"}},
    {"imageSaved(int,QString)", {"id", "fileName"}},
    {"fProcessing(QImage*,int,int)", {"pImg", "imageProcessing", "displayMode"}},
};

// Object names, "-" for a separator.
QStringList names(const QList<QAction *> &actions)
{
    QStringList list;
    for (const QAction *action : actions)
        list += action->isSeparator() ? QStringLiteral("-") : action->objectName();
    return list;
}

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '));
}

} // namespace

class TestForm : public QObject
{
    Q_OBJECT

private slots:
    void actions_data()
    {
        QTest::addColumn<int>("row");
        for (size_t row = 0; row < std::size(actionTable); ++row)
            QTest::newRow(actionTable[row].name) << int(row);
    }

    void actions()
    {
        QFETCH(int, row);
        const ActionRow &expected = actionTable[row];
        const Window window;
        const QAction *const action = window.action(expected.name);
        QCOMPARE(action->parent(), &window);
        QCOMPARE(action->text(), QString::fromUtf8(expected.text));
        QCOMPARE(action->shortcut(), QKeySequence(QLatin1String(expected.shortcut)));
        QCOMPARE(action->isCheckable(), expected.check != Plain);
        QCOMPARE(action->isChecked(), expected.check == Checked);
        QCOMPARE(action->menuRole(), QAction::TextHeuristicRole);
        QVERIFY(action->statusTip().isEmpty());
        QCOMPARE(action->toolTip(), action->iconText()); // both from its text: it has none itself
        // The camera runs, so Start is disabled.
        const bool disabled = qstrcmp(expected.name, "actionEffet_artistique") == 0 ||
                              qstrcmp(expected.name, "actionStartCamera") == 0;
        QCOMPARE(action->isEnabled(), !disabled);
        if (*expected.icon == '\0') {
            QVERIFY(action->icon().isNull());
        } else {
            const QString file =
                QStringLiteral(":/icones/%1.png").arg(QLatin1String(expected.icon));
            const QImage drawn = action->icon().pixmap(24, 24).toImage();
            QVERIFY(!drawn.isNull());
            KIVRA_COMPARE_PICTURES(drawn, QPixmap(file).toImage());
        }
        // Disconnecting succeeds only if the action was connected to its slot.
        const QByteArray slot = QByteArray("1") + expected.slot;
        QVERIFY(QObject::disconnect(action, SIGNAL(triggered()), &window, slot.constData()));
    }

    void actionsAreMadeInOrder()
    {
        const Window window;
        QStringList made;
        for (const QObject *child : window.children()) {
            if (qobject_cast<const QAction *>(child))
                made += child->objectName();
        }
        QStringList expected;
        for (const ActionRow &row : actionTable)
            expected += QLatin1String(row.name);
        QCOMPARE(made, expected);
    }

    void formAloneGivesItsShortcuts()
    {
        QMainWindow window;
        Ui_Camera form;
        form.setupUi(&window);
        for (const ActionRow &row : actionTable) {
            QKeySequence expected;
            for (const auto &[name, keys] : formShortcuts) {
                if (qstrcmp(name, row.name) == 0)
                    expected = QKeySequence(QLatin1String(keys));
            }
            const auto *const action = window.findChild<QAction *>(QLatin1String(row.name));
            QVERIFY2(action->shortcut() == expected, row.name);
        }
        QCOMPARE(window.windowTitle(), QStringLiteral("Camera"));
        QCOMPARE(window.objectName(), QStringLiteral("Camera"));
        QCOMPARE(window.size(), QSize(680, 480));
        QVERIFY(!window.findChild<QActionGroup *>());
    }

    void menus_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QStringList>("entries");
        QTest::newRow("menuFichier")
            << QStringLiteral("Fichier")
            << words(
                   "- actionExit actionEnregistrer_image actionOuvrir_Image actionMenu_graphique");
        QTest::newRow("menuMode") << QStringLiteral("Rendu")
                                  << words("actionNormal actionNoir_et_blanc actionNegatif "
                                           "actionBicolore - actionMode actionTailleFenetre");
        QTest::newRow("menuTraitements")
            << QStringLiteral("Effet")
            << words("actionTrNormal actionAutomatique actionEclairage_difficile actionTexte "
                     "actionTexte_manuscrit actionTableau_vert actionEffet_artistique - "
                     "actionEffet");
        QTest::newRow("menuReglages") << QStringLiteral("Réglages")
                                      << words("actionReinit actionZoom actionLumiere "
                                               "actionContraste actionReglageCourant");
        QTest::newRow("menuPreferences")
            << QStringLiteral("Préférences") << words("actionImageSettings actionPreferences");
        QTest::newRow("menuAide") << QStringLiteral("Aide")
                                  << words("actionAide - actionMiseAJour actionInfoSysteme "
                                           "actionA_propos");
    }

    void menus()
    {
        QFETCH(QString, title);
        QFETCH(QStringList, entries);
        const Window window;
        const auto *const menu = window.find<QMenu>(QTest::currentDataTag());
        QCOMPARE(menu->title(), title);
        QCOMPARE(names(menu->actions()), entries);
    }

    void deviceMenuBeginsWithStartAndStop()
    {
        const Window window;
        const auto *const menu = window.find<QMenu>("menuDevices");
        QCOMPARE(menu->title(), QStringLiteral("Caméra"));
        QCOMPARE(names(menu->actions().mid(0, 3)), words("actionStartCamera actionStopCamera -"));
    }

    void menuBarIsInOrder()
    {
        const Window window;
        QStringList titles;
        for (const QAction *menu : window.menuBar()->actions())
            titles += menu->text();
        const QStringList expected = {QStringLiteral("Fichier"),  QStringLiteral("Caméra"),
                                      QStringLiteral("Rendu"),    QStringLiteral("Effet"),
                                      QStringLiteral("Réglages"), QStringLiteral("Préférences"),
                                      QStringLiteral("Aide")};
        QCOMPARE(titles, expected);
        QCOMPARE(window.menuBar()->objectName(), QStringLiteral("menubar"));
    }

    void toolBarIsInOrder()
    {
        const Window window;
        auto *const toolBar = window.find<QToolBar>("toolBar");
        QCOMPARE(names(toolBar->actions()),
                 words("actionCamera actionMode actionEffet actionTailleFenetre actionZoom "
                       "actionContraste actionLumiere actionReglageCourant actionResetCoef "
                       "actionIncCoef actionDecCoef actionAide actionExit"));
        QCOMPARE(window.toolBarArea(toolBar), Qt::TopToolBarArea);
        QCOMPARE(toolBar->windowTitle(), QStringLiteral("toolBar"));
        QVERIFY(!toolBar->isVisible());
    }

    void widgetTree()
    {
        const Window window;
        const QSizePolicy preferred(QSizePolicy::Preferred, QSizePolicy::Preferred);
        QCOMPARE(window.maximumSize(), QSize(4096, 4096));
        QCOMPARE(window.sizePolicy(), preferred);
        QCOMPARE(window.windowTitle(), QStringLiteral("Kivra"));
        QVERIFY(!window.autoFillBackground());

        const QWidget *const central = window.centralWidget();
        QCOMPARE(central->objectName(), QStringLiteral("centralwidget"));
        QCOMPARE(central->maximumSize(), QSize(1200, 800));
        QCOMPARE(central->sizePolicy(), preferred);
        QVERIFY(central->autoFillBackground());
        auto *const outer = qobject_cast<QGridLayout *>(central->layout());
        QCOMPARE(outer->objectName(), QStringLiteral("gridLayout_3"));
        QCOMPARE(outer->sizeConstraint(), QLayout::SetDefaultConstraint);

        const auto *const view = window.find<PixmapWidget>("displayWidget");
        QCOMPARE(view->parentWidget(), central);
        QCOMPARE(outer->itemAtPosition(0, 0)->widget(), view);
        QCOMPARE(view->maximumSize(), QSize(10000, 8000));
        QCOMPARE(view->sizePolicy(), preferred);
        QVERIFY(!view->hasMouseTracking());
        auto *const inner = qobject_cast<QGridLayout *>(view->layout());
        QCOMPARE(inner->objectName(), QStringLiteral("gridLayout"));

        const auto *const label = window.find<QLabel>("msgDisplay");
        QCOMPARE(label->parentWidget(), view);
        QCOMPARE(inner->itemAtPosition(0, 0)->widget(), label);
        QVERIFY(!label->isEnabled());
        QVERIFY(label->text().isEmpty());
        QCOMPARE(label->font().family(), QStringLiteral("Lucida Grande"));
        QCOMPARE(label->font().pointSize(), 24);
        QCOMPARE(label->alignment(), Qt::AlignLeft | Qt::AlignTop);
        QCOMPARE(window.statusBar()->objectName(), QStringLiteral("statusbar"));
        QCOMPARE(window.menuBar()->sizePolicy(), preferred);
        QCOMPARE(window.find<QToolBar>("toolBar")->sizePolicy(), preferred);
        for (const char *name :
             {"centralwidget", "displayWidget", "menubar", "statusbar", "toolBar"})
            QVERIFY2(window.find<QWidget>(name)->isEnabled(), name);
    }

    void startSize()
    {
        const Window window;
        QCOMPARE(window.size(), QSize(680, 480));
    }

    void centralWidgetStaysAtItsMaximum()
    {
        Window window;
        window.resize(1600, 1200);
        QTRY_COMPARE(window.size(), QSize(1600, 1200));
        QCOMPARE(window.centralWidget()->size(), QSize(1200, 800));
    }

    void slotsAreInOrder()
    {
        const QMetaObject &meta = Camera::staticMetaObject;
        QCOMPARE(meta.methodCount() - meta.methodOffset(), int(std::size(slotTable)));
        for (size_t i = 0; i < std::size(slotTable); ++i) {
            const QMetaMethod method = meta.method(meta.methodOffset() + int(i));
            QCOMPARE(method.methodSignature(), QByteArray(slotTable[i]));
            QCOMPARE(method.methodType(), QMetaMethod::Slot);
            QCOMPARE(method.access(), QMetaMethod::Private);
        }
        for (const auto &[signature, parameters] : parameterNames) {
            const QMetaMethod method = meta.method(meta.indexOfSlot(signature));
            QCOMPARE(method.parameterNames(), parameters);
        }
    }

    void modesAndEffectsAreExclusive()
    {
        const Window window;
        window.trigger("actionTexte");
        QVERIFY(window.action("actionTexte")->isChecked());
        QVERIFY(!window.action("actionTrNormal")->isChecked());
        QVERIFY(window.action("actionNormal")->isChecked());
        window.trigger("actionBicolore");
        QVERIFY(!window.action("actionNormal")->isChecked());
        QVERIFY(window.action("actionTexte")->isChecked());

        const QActionGroup *const effects = window.action("actionNormal")->actionGroup();
        QCOMPARE(names(effects->actions()),
                 words("actionNormal actionNoir_et_blanc actionNegatif actionBicolore"));
        QCOMPARE(effects->parent(), &window);
        const QActionGroup *const modes = window.action("actionTrNormal")->actionGroup();
        QCOMPARE(names(modes->actions()),
                 words("actionTrNormal actionAutomatique actionEclairage_difficile actionTexte "
                       "actionTexte_manuscrit actionTableau_vert actionEffet_artistique"));
        QCOMPARE(modes->parent(), &window);
    }
};

KIVRA_TEST(TestForm)
#include "test_form.moc"
