#pragma once

class QString;

/// Gives the framework's own buttons, dialogs and messages their French texts, whatever the user's
/// locale: French is the language of the interface. \a folder holds the framework's catalogues; the
/// texts of a missing one stay in English. Needs the application object.
void translateFramework(const QString &folder);
