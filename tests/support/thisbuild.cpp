#include "tests/support/thisbuild.h"

namespace kivra::test {

QString besideTheProgram(const QString &name)
{
    const QString folder = QStringLiteral(KIVRA_PROGRAM_FOLDER);
    return name.isEmpty() ? folder : folder + QLatin1Char('/') + name;
}

QString screenshotFolder()
{
    return QStringLiteral(KIVRA_SCREENSHOT_FOLDER);
}

bool isSanitized()
{
    return KIVRA_IS_SANITIZED;
}

bool isInstrumented()
{
    return KIVRA_IS_SANITIZED || KIVRA_IS_COUNTED;
}

} // namespace kivra::test
