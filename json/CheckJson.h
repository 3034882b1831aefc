#ifndef V2XSHM_JSON_CHECKJSON_H
#define V2XSHM_JSON_CHECKJSON_H

#include <vector>

#include "JsonText.h"
#include "v2xshm-unit/ListCheck.h"

// JSON views of the consistency check (field names in docs/json.md,
// "Consistency check").

// One list's result: its identity, verdict, ownership, semaphore and lock,
// the figures read and the problems found.
void to_json(Json& j, const ListCheckResult& r);
// A whole check: every result, the counts by verdict and whether all is well
// (`exitCode` 0).
Json checkReportJson(const std::vector<ListCheckResult>& results, int exitCode);

#endif
