#pragma once

class QString;

/// Gives the framework's own buttons, dialogs and messages their French texts, whatever the user's
/// locale: French is the language of the interface. \a folder is where the framework's catalogues
/// are; one that is missing leaves its texts in English. Needs the application object.
void translateFramework(const QString &folder);
