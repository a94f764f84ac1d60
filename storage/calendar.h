#pragma once

#include <QString>
#include <array>

/// French names of the days, indexed by QDate::dayOfWeek(): 1 is Monday, 7 is Sunday. Slot 0 is
/// Sunday too, for counts that start the week there.
extern const std::array<QString, 8> jours;

/// French names of the months, indexed by QDate::month(): 1 is January, 12 is December. Slot 0 is
/// December too. August is written without its circumflex, as the 1990 spelling allows.
extern const std::array<QString, 13> mois;

/// Day name, day of the month, month name and time of now, such as "lundi 03 mars 14:05".
/// The clock is read once for each field, so a call at midnight can mix two days.
QString dateString();
