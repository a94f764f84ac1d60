#include "benchmarks/table.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace kivra::benchmarks {

namespace {

std::string number(double value, int decimals)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

std::string ratio(const std::map<std::string, double> &best, const char *over, double under)
{
    const auto found = best.find(over);
    return found == best.end() || under <= 0 ? "" : number(found->second / under, 2);
}

} // namespace

Table::Table(const std::vector<Subject> &subjects)
{
    for (const Subject &subject : subjects)
        rowOf(subject);
}

Table::Row &Table::rowOf(const Subject &subject)
{
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const Row &known) {
        return known.operation == subject.operation && known.size == subject.size;
    });
    if (row != rows.end())
        return *row;
    rows.push_back({subject.operation, subject.size, {}});
    return rows.back();
}

bool Table::ReportContext(const Context &context)
{
    Q_UNUSED(context)
    return true;
}

void Table::ReportRuns(const std::vector<Run> &runs)
{
    for (const Run &run : runs) {
        if (run.run_type != Run::RT_Iteration || run.error_occurred)
            continue;
        const Subject subject = subjectOf(run.run_name.function_name);
        const double seconds = run.real_accumulated_time / static_cast<double>(run.iterations);
        const double megapixels = subject.size.width() * subject.size.height() / 1e6;
        const double value = seconds * 1e3 / megapixels;
        const auto [known, isNew] = rowOf(subject).best.emplace(subject.side, value);
        if (!isNew)
            known->second = std::min(known->second, value);
    }
}

void Table::Finalize()
{
    std::map<int, double> copies;
    for (const Row &row : rows) {
        if (row.best.count("copy") != 0)
            copies[row.size.width()] = row.best.at("copy");
    }
    std::ostream &out = GetOutputStream();
    out << "| size | operation | product, ms/Mp | reference, ms/Mp | product / reference |"
           " product / copy |\n|---|---|---|---|---|---|\n";
    for (const Row &row : rows) {
        if (row.best.empty())
            continue;
        const auto side = [&](const char *name) {
            const auto found = row.best.find(name);
            return found == row.best.end() ? std::string() : number(found->second, 3);
        };
        const bool isCopy = row.best.count("copy") != 0;
        const auto reference = row.best.find("reference");
        out << "| " << row.size.width() << " x " << row.size.height() << " | " << row.operation
            << " | " << side(isCopy ? "copy" : "product") << " | " << side("reference") << " | "
            << ratio(row.best, "product", reference == row.best.end() ? 0 : reference->second)
            << " | " << ratio(row.best, "product", copies[row.size.width()]) << " |\n";
    }
}

} // namespace kivra::benchmarks
