// The framework's own texts in the language of the interface; the program's texts as they are.

#include "app/translation.h"
#include "tests/app/window.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLibraryInfo>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTranslator>

using kivra::test::Sandbox;
using kivra::test::TestCamera;
using kivra::test::Window;

namespace {

QString cataloguesOfTheSystem()
{
    return QLibraryInfo::location(QLibraryInfo::TranslationsPath);
}

QList<QTranslator *> translators()
{
    return QCoreApplication::instance()->findChildren<QTranslator *>();
}

QString standardText(QDialogButtonBox::StandardButton button)
{
    const QDialogButtonBox buttons(button);
    return buttons.button(button)->text().remove(QLatin1Char('&'));
}

} // namespace

class TestTranslation : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Sandbox::instance().reset();
        TestCamera::instance().reset();
    }

    void cleanup() { qDeleteAll(translators()); }

    void standardButtonsAreFrench()
    {
        translateFramework(cataloguesOfTheSystem());
        QCOMPARE(standardText(QDialogButtonBox::Ok), QStringLiteral("OK"));
        QCOMPARE(standardText(QDialogButtonBox::Cancel), QStringLiteral("Annuler"));
    }

    void fileDialogIsFrench()
    {
        translateFramework(cataloguesOfTheSystem());
        const QFileDialog dialog;
        QCOMPARE(dialog.labelText(QFileDialog::FileName).remove(QLatin1Char('&')),
                 QStringLiteral("Nom de fichier :"));
    }

    // What the framework says if there is no camera service at all; in the tests there is one.
    void errorsOfTheFrameworkAreFrench()
    {
        translateFramework(cataloguesOfTheSystem());
        QCOMPARE(QCoreApplication::translate("QCamera", "The camera service is missing"),
                 QStringLiteral("Le service caméra est manquant"));
    }

    void ownTextsStay()
    {
        translateFramework(cataloguesOfTheSystem());
        const Window window;
        QCOMPARE(window.action("actionExit")->text(), QStringLiteral("Exit"));
        QCOMPARE(window.action("actionStartCamera")->text(), QStringLiteral("Start Camera"));
        QCOMPARE(window.action("actionImageSettings")->text(), QStringLiteral("Image settings"));
    }

    void missingCataloguesChangeNothing()
    {
        const QTemporaryDir empty;
        translateFramework(empty.path());
        QVERIFY(translators().isEmpty());
        QCOMPARE(standardText(QDialogButtonBox::Cancel), QStringLiteral("Cancel"));
    }
};

KIVRA_TEST(TestTranslation)
#include "test_translation.moc"
