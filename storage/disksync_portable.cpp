#include "storage/wholefile.h"

void syncToDisk(const QString &) {}
