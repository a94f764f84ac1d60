#include "benchmarks/subjects.h"

namespace kivra::benchmarks {

std::string nameOf(const Subject &subject)
{
    return subject.operation + "/" + subject.side + "/" + std::to_string(subject.size.width()) +
           "x" + std::to_string(subject.size.height());
}

Subject subjectOf(const std::string &name)
{
    const std::size_t side = name.find('/');
    const std::size_t width = name.find('/', side + 1);
    const std::size_t height = name.find('x', width + 1);
    return {name.substr(0, side), name.substr(side + 1, width - side - 1),
            QSize(std::stoi(name.substr(width + 1)), std::stoi(name.substr(height + 1)))};
}

} // namespace kivra::benchmarks
