#include "dialogs/preferences.h"

#include "dialogs/fittingstyle.h"
#include "storage/settings.h"
#include "ui_preferences.h"

#include <array>

namespace {

struct Preference
{
    const Setting<bool> &setting;
    QCheckBox *Ui_preferences::*box;
};

// Read and written in this order.
constexpr std::array<Preference, 5> table{{
    {settings::displayMsgInDialog, &Ui_preferences::checkDisplayMsg},
    {settings::displayStatus, &Ui_preferences::checkDisplayStatus},
    {settings::restore, &Ui_preferences::checkRestore},
    {settings::rawStore, &Ui_preferences::checkRawStore},
    {settings::smallField, &Ui_preferences::checkSmallField},
}};

// Lets a screen reader say the heading of each box with it.
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
        box->setChecked(entry.setting.from(store));
    }
}

preferences::~preferences() = default;

void preferences::on_buttonBox_accepted()
{
    QSettings store = settingsStore();
    for (const Preference &entry : table) {
        const QCheckBox *box = (*ui).*entry.box;
        entry.setting.write(store, box->isChecked());
    }
}
