#pragma once

#include <QStringList>

namespace kivra::rendu {

/// What the entries of the menu "Effet" are called on the command line, in the order of their
/// numbers (FrameSettings::mode).
const QStringList &modeNames();

/// Those of the menu "Rendu" (FrameSettings::effect).
const QStringList &effectNames();

} // namespace kivra::rendu
