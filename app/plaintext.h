#pragma once

#include <QObject>

/// While it lives, an event filter of the application: makes every label show its text as it is, in
/// message boxes, tool tips and Qt's own dialogs too.
///
/// A label guesses whether its text is markup, and markup can make it open files and decode
/// pictures. Names of files and cameras and texts of drivers are untrusted, and no text of this
/// program is markup.
class PlainText : public QObject
{
    Q_OBJECT

public:
    explicit PlainText(QObject *parent);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};
