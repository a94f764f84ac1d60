#pragma once

#include <QStringList>

/// Makes the pictures under ":/icones/" readable. Call it once, before the first icon is made:
/// the linker drops resources of a static library that nothing refers to. Calling it again does
/// no harm.
void initialiseResources();

/// The resource paths of the program's own icon, one PNG per size, smallest first (16 to 256
/// pixels). Add them all to one QIcon: the sizes below 32 are a simpler drawing, not a large one
/// scaled down.
QStringList applicationIconFiles();
