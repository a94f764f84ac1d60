// An input is the content of a photograph. The command itself, not the decoder, reads from it how
// the camera was held.

#include "rendu/orientation.h"
#include "tests/fuzz/target.h"

#include <QTemporaryFile>

namespace kivra::fuzz {

std::unique_ptr<Surroundings> prepare(int &, char **)
{
    return nullptr;
}

void run(const std::uint8_t *data, std::size_t size)
{
    QTemporaryFile file;
    require(file.open(), "the input cannot be stored");
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    require(file.flush(), "the input cannot be stored");
    const int orientation = rendu::orientationOf(file.fileName());
    require(orientation >= 1 && orientation <= 8, "the orientation is none");
}

} // namespace kivra::fuzz
