// v2xshm check [LIST...]: the consistency of the shared lists, one line each,
// then a verdict.
#include "Commands.h"
#include "JsonText.h"

#include <cstdio>
#include <iostream>

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

Json resultJson(const ListCheckResult& r)
{
    Json figures = Json::object();
    for (const auto& figure : r.figures) {
        figures[figure.first] = figure.second;
    }
    return {{"name", r.name},         {"manager", r.manager},           {"key", r.key},
            {"verdict", verdictName(r.verdict)}, {"sizeFound", r.sizeFound}, {"sizeExpected", r.sizeExpected},
            {"semPresent", r.semPresent}, {"semValue", r.semValue},     {"semInitialised", r.semInitialised},
            {"locked", r.locked},     {"holderPid", r.holderPid},       {"holderAlive", r.holderAlive},
            {"figures", figures},     {"problems", r.problems}};
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
    int damaged = 0, absent = 0;
    for (const ListCheckResult& r : results) {
        damaged += r.verdict == ListCheckResult::DAMAGED;
        absent += r.verdict == ListCheckResult::ABSENT;
    }
    // A list asked for by name and not there is a failure, as for every command.
    int rc = damaged > 0 || absent > 0 ? EXIT_FAILURE_CODE : EXIT_OK;
    if (json) {
        Json lists = Json::array();
        for (const ListCheckResult& r : results) {
            lists.push_back(resultJson(r));
        }
        printJson({{"lists", lists}, {"damaged", damaged}, {"absent", absent}, {"consistent", rc == EXIT_OK}});
        return rc;
    }
    for (const ListCheckResult& r : results) {
        std::string text = details(r);
        if (text.empty()) {
            printf("%-11s %s\n", r.name.c_str(), verdictName(r.verdict));
        } else {
            printf("%-11s %-10s %s\n", r.name.c_str(), verdictName(r.verdict), text.c_str());
        }
    }
    if (results.empty()) {
        printf("no list present\n");
    } else if (rc == EXIT_OK) {
        printf("all %zu lists consistent\n", results.size());
    } else {
        printf("%d damaged, %d absent of %zu lists\n", damaged, absent, results.size());
    }
    fflush(stdout);
    return rc;
}
