#pragma once

#include <QSettings>

/// The settings store, opened afresh: whoever reads or writes a setting opens it there and then, so
/// that every reader sees what was written last, by this program or another.
inline QSettings settingsStore()
{
    return QSettings(QStringLiteral("Orvane"), QStringLiteral("KivraQt"));
}
