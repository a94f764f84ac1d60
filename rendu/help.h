#pragma once

#include <QString>

namespace kivra::rendu {

/// How to call the command, in French.
QString helpText();

/// What --effet and --rendu know.
QString listText();

} // namespace kivra::rendu
