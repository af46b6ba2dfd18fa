#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace kelpay::bench {

/// Keeps the fastest repetition of each benchmark; the machine only ever makes one slower.
class FastestReporter : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context &) override { return true; }
    void ReportRuns(const std::vector<Run> &runs) override;

    /// Nanoseconds; 0 for a benchmark that did not run.
    double nanoseconds(const std::string &name) const;

private:
    std::map<std::string, double> m_fastest;
};

/// One row of the table: what was measured, against what, and the ratio it must not exceed.
struct Row
{
    const char *measured;
    const char *against;
    double reach;
    const char *title;
};

/// Prints the rows; one that falls short begins with SHORT. True when none does.
bool printRows(const FastestReporter &results, const std::vector<Row> &rows);

} // namespace kelpay::bench
