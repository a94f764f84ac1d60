#pragma once

#include <QDialog>
#include <memory>

class Ui_preferences;

/// Five check boxes that edit the "preferences/*" keys of the settings store. Made for one use, run
/// with exec(): the boxes show the store as it was at construction, or defaults for absent keys.
///
/// OK writes all five keys, whether their boxes changed or not; Cancel and closing write nothing.
/// Code that uses a key reads it from the store each time, so the dialog returns nothing.
class preferences : public QDialog
{
    Q_OBJECT

public:
    /// \a parent may be null.
    explicit preferences(QWidget *parent = nullptr);
    ~preferences() override;

private slots:
    /// Writes the five keys; called after accept(), within the same press of OK.
    void on_buttonBox_accepted();

private:
    std::unique_ptr<Ui_preferences> ui;
};
