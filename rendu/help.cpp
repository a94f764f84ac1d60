#include "rendu/help.h"

#include "rendu/choices.h"

namespace kivra::rendu {

QString helpText()
{
    return QStringLiteral(
        "Usage : kivra-rendu [OPTION]... -o DOSSIER IMAGE...\n"
        "   ou : kivra-rendu [OPTION]... --pdf FICHIER IMAGE...\n"
        "Rend lisibles des images comme le fait la fenêtre de Kivra, toutes à la fois.\n"
        "\n"
        "Ce qui devient des images :\n"
        "      --effet=NOM         entrée du menu « Effet » (normal)\n"
        "      --rendu=NOM         entrée du menu « Rendu » (normal)\n"
        "      --contraste=N       contraste en pour cent, de 10 à 1000 (100)\n"
        "      --lumiere=N         lumière, de -100 à 100 (0)\n"
        "      --reglage=N         réglage de l'effet, de 0 à 100 (50)\n"
        "      --list              affiche les effets et les rendus\n"
        "\n"
        "Où vont les résultats :\n"
        "  -o, --output=DOSSIER    dans ce dossier, sous le nom de chaque image\n"
        "      --format=FORMAT     png ou jpg ; sinon celui de l'image, ou png\n"
        "      --pdf=FICHIER       dans un document, une page A4 par image\n"
        "  -f, --force             remplace les fichiers qui existent, jamais une image donnée\n"
        "\n"
        "      --files-from=LISTE  prend aussi les images nommées dans ce fichier, une par ligne "
        ";\n"
        "                          « - » pour l'entrée standard\n"
        "  -j, --jobs=N            N images à la fois (autant que de cœurs)\n"
        "  -q, --quiet             ne dit que ce qui a échoué\n"
        "  -h, --help              affiche cette aide\n"
        "  -V, --version           affiche la version\n"
        "\n"
        "Un résultat plus récent que son image et fait avec les mêmes options n'est pas refait.\n"
        "Se termine par 0 si tout est fait, 1 si la commande est mal employée, 2 si des images\n"
        "ont échoué, 130 si elle a été interrompue.\n");
}

QString listText()
{
    const QString between = QStringLiteral("\n  ");
    return QStringLiteral("--effet :\n  %1\n\n--rendu :\n  %2\n")
        .arg(modeNames().join(between), effectNames().join(between));
}

} // namespace kivra::rendu
