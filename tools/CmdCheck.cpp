// v2xshm check [LIST...]: the consistency of the shared lists, one line each,
// then a verdict.
#include "Commands.h"
#include "JsonText.h"

#include <cstdio>

#include "CheckJson.h"
#include "v2xshm-unit/ListCheck.h"

namespace {

std::string joined(const std::vector<std::string>& parts, const char* sep)
{
    std::string out;
    for (const std::string& part : parts) {
        out += (out.empty() ? "" : sep) + part;
    }
    return out;
}

std::string details(const ListCheckResult& r)
{
    if (!r.problems.empty()) {
        return joined(r.problems, "; ");
    }
    std::vector<std::string> figures;
    for (const auto& figure : r.figures) {
        figures.push_back(figure.first + " " + std::to_string(figure.second));
    }
    if (!r.locked && r.present) {
        figures.push_back("read without the lock");
    }
    return joined(figures, ", ");
}

void printText(const std::vector<ListCheckResult>& results, int rc)
{
    for (const ListCheckResult& r : results) {
        std::string text = details(r);
        if (text.empty()) {
            printf("%-11s %s\n", r.name.c_str(), verdictName(r.verdict));
        } else {
            printf("%-11s %-10s %s\n", r.name.c_str(), verdictName(r.verdict), text.c_str());
        }
    }
    ListCheckCounts counts = countVerdicts(results);
    if (results.empty()) {
        printf("no list present\n");
    } else if (rc == EXIT_OK) {
        printf("all %zu lists consistent\n", results.size());
    } else {
        printf("%d damaged, %d without owner, %d absent of %zu lists\n", counts.damaged, counts.noOwner,
               counts.absent, results.size());
    }
    fflush(stdout);
}

}  // namespace

int cmdCheck(const std::vector<std::string>& names, bool json)
{
    for (const std::string& name : names) {
        if (checkedListDefaultKey(name) == 0) {
            return usageError("unknown list: " + name + " (known: " + joined(checkedListNames(), " ") + ")");
        }
    }
    std::vector<ListCheckResult> results;
    for (const ListCheckResult& r : checkLists(names)) {
        // Unnamed lists that are not there are no concern of this unit.
        if (r.present || !names.empty()) {
            results.push_back(r);
        }
    }
    // A list asked for by name and not there is a failure, as for every
    // command; so is a unit with no list at all (no owner ever ran).
    int rc = checkExitCode(results) != 0 || countVerdicts(results).absent > 0 || results.empty()
                 ? EXIT_FAILURE_CODE
                 : EXIT_OK;
    if (json) {
        printJson(checkReportJson(results, rc));
    } else {
        printText(results, rc);
    }
    return rc;
}
