#pragma once

#include "rendu/options.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace kivra::rendu {

/// A picture to render, and the path of the file that it becomes; empty for a page of a document.
struct Job
{
    QString source;
    QString target;
};

struct Plan
{
    std::vector<Job> jobs; ///< in the order of the sources
    QStringList faults;    ///< why nothing may be written; empty when all is well
};

/// Who becomes what. Two results of one name are a fault, and so is a result that would take the
/// place of any source, under whatever path. Nothing is written.
Plan planFor(const Options &options);

} // namespace kivra::rendu
