#include "bench/Comparison.h"

#include <cstdio>

namespace kelpay::bench {

void FastestReporter::ReportRuns(const std::vector<Run> &runs)
{
    for (const Run &run : runs) {
        if (run.run_type != Run::RT_Iteration || run.error_occurred)
            continue;
        const double time = run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
        const auto [entry, isNew] = m_fastest.try_emplace(run.run_name.function_name, time);
        if (!isNew && time < entry->second)
            entry->second = time;
    }
}

double FastestReporter::nanoseconds(const std::string &name) const
{
    const auto found = m_fastest.find(name);
    return found == m_fastest.end() ? 0 : found->second;
}

bool printRows(const FastestReporter &results, const std::vector<Row> &rows)
{
    bool isReached = true;
    for (const auto &[measured, against, reach, title] : rows) {
        const double ours = results.nanoseconds(measured);
        const double theirs = results.nanoseconds(against);
        if (ours <= 0 && theirs <= 0)
            continue; // left out by a filter
        const double ratio = theirs > 0 ? ours / theirs : 0;
        const bool isShort = ratio <= 0 || ratio > reach;
        isReached = isReached && !isShort;
        std::printf("%-6s%-46s %9.2f us against %9.2f us: %5.2f times, reach %.2f\n", isShort ? "SHORT" : "ok", title,
                    ours / 1e3, theirs / 1e3, ratio, reach);
    }
    return isReached;
}

} // namespace kelpay::bench
