#pragma once

#include "render/renderer.h"

#include <QString>
#include <QStringList>

namespace kivra::rendu {

/// What is to be done with which pictures.
struct Options
{
    enum class Format {
        Kept, ///< that of the source where it is PNG or JPEG, else PNG
        Png,
        Jpeg,
    };

    FrameSettings settings;
    int reglage = 50; ///< the mode's setting, which no mode uses so far
    Format format = Format::Kept;
    QString folder; ///< of the results; empty for a document
    QString pdf;    ///< the document; empty for a folder
    int jobs = 1;   ///< pictures at once
    bool force = false;
    bool quiet = false;
    QStringList sources; ///< in the order given, those of the list last
};

struct CommandLine
{
    enum class Request { Render, Help, Version, List };

    Request request = Request::Render;
    Options options;
    QString fault; ///< why it cannot be understood, in French; empty when it can
};

/// Parses the command line as GNU programs do. Reads the list of --files-from.
CommandLine readCommandLine(int argc, char **argv);

} // namespace kivra::rendu
