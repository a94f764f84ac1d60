#pragma once

#include <QString>

namespace kivra::rendu {

/// How to call the command, in French.
QString helpText();

/// The values that --effet and --rendu take.
QString listText();

} // namespace kivra::rendu
