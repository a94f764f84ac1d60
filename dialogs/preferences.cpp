#include "dialogs/preferences.h"

#include "dialogs/fittingstyle.h"
#include "storage/settings.h"
#include "ui_preferences.h"

#include <array>

namespace {

struct Preference
{
    const char *key;
    QCheckBox *Ui_preferences::*box;
    bool whenAbsent;
};

// Read and written in this order. The program's own reader of displayMsg takes an absent key for
// false: messages start with the first OK in this dialog.
constexpr std::array<Preference, 5> table{{
    {"preferences/displayMsg", &Ui_preferences::checkDisplayMsg, true},
    {"preferences/displayStatus", &Ui_preferences::checkDisplayStatus, false},
    {"preferences/restore", &Ui_preferences::checkRestore, false},
    {"preferences/rawStore", &Ui_preferences::checkRawStore, true},
    {"preferences/smallField", &Ui_preferences::checkSmallField, true},
}};

// A screen reader tells with each box which heading it stands under.
void describe(const Ui_preferences &form)
{
    form.checkRestore->setAccessibleDescription(form.label->text());
    for (QCheckBox *box :
         {form.checkDisplayMsg, form.checkDisplayStatus, form.checkRawStore, form.checkSmallField})
        box->setAccessibleDescription(form.label_2->text());
}

} // namespace

preferences::preferences(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui_preferences>())
{
    ui->setupUi(this);
    new FittingStyle({ui->label, ui->label_2}, this);
    new FittingStyle({ui->checkRestore, ui->checkDisplayMsg, ui->checkDisplayStatus,
                      ui->checkRawStore, ui->checkSmallField},
                     this);
    describe(*ui);
    setAccessibleName(QStringLiteral("Préférences"));
    const QSettings store = settingsStore();
    for (const Preference &entry : table) {
        QCheckBox *box = (*ui).*entry.box;
        box->setChecked(store.value(QLatin1String(entry.key), entry.whenAbsent).toBool());
    }
}

preferences::~preferences() = default;

void preferences::on_buttonBox_accepted()
{
    QSettings store = settingsStore();
    for (const Preference &entry : table) {
        const QCheckBox *box = (*ui).*entry.box;
        store.setValue(QLatin1String(entry.key), box->isChecked());
    }
}
