#include "rendu/choices.h"

namespace kivra::rendu {

const QStringList &modeNames()
{
    static const QStringList names = {QStringLiteral("normal"),
                                      QStringLiteral("automatique"),
                                      QStringLiteral("eclairage-difficile"),
                                      QStringLiteral("texte"),
                                      QStringLiteral("texte-manuscrit"),
                                      QStringLiteral("tableau-vert"),
                                      QStringLiteral("effet-artistique")};
    return names;
}

const QStringList &effectNames()
{
    static const QStringList names = {QStringLiteral("normal"), QStringLiteral("noir-et-blanc"),
                                      QStringLiteral("negatif"), QStringLiteral("bicolore")};
    return names;
}

} // namespace kivra::rendu
