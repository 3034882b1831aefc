#ifndef V2XSHM_JSON_JSONFWD_H
#define V2XSHM_JSON_JSONFWD_H

#include <nlohmann/json_fwd.hpp>

// The JSON document type, declared only: the views' headers name it without
// pulling the whole JSON library into every front that prints through them.
// JSON documents keep their members in the order they were added.
using Json = nlohmann::ordered_json;

#endif
