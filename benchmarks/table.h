#pragma once

#include "benchmarks/subjects.h"

#include <benchmark/benchmark.h>
#include <map>
#include <string>
#include <vector>

namespace kivra::benchmarks {

/// Collects the runs and prints, at the end, a table in Markdown: milliseconds per megapixel of the
/// best round, and the two ratios, product to reference and product to copy.
class Table : public benchmark::BenchmarkReporter
{
public:
    /// The rows of the table, in this order; a row that nothing was measured for is left out.
    explicit Table(const std::vector<Subject> &subjects);

    bool ReportContext(const Context &context) override;
    void ReportRuns(const std::vector<Run> &runs) override;
    void Finalize() override;

private:
    /// Best milliseconds per megapixel of each side, by operation and size.
    struct Row
    {
        std::string operation;
        QSize size;
        std::map<std::string, double> best;
    };
    Row &rowOf(const Subject &subject);

    std::vector<Row> rows;
};

} // namespace kivra::benchmarks
