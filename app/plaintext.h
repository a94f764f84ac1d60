#pragma once

#include <QObject>

/// An event filter of the application, as long as it lives: makes every label show its text as it
/// is, those of message boxes, of tool tips and of Qt's own dialogs included.
///
/// A label guesses whether its text is markup, and markup names files that it opens and pictures
/// that it decodes. The names of files and cameras and the texts of drivers come from anywhere; and
/// no text of this program is markup.
class PlainText : public QObject
{
    Q_OBJECT

public:
    explicit PlainText(QObject *parent);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};
