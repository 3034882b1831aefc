#include "StatusJson.h"

#include "JsonText.h"

void to_json(Json& j, const ListStatus& s)
{
    j = {{"name", s.name},         {"manager", s.manager},         {"key", s.key},
         {"size", s.size},         {"segment", s.segment},         {"segmentSize", s.segmentSize},
         {"attached", s.attached}, {"semaphore", s.semaphore},     {"waiting", s.waiting},
         {"owned", s.owned}};
}

void to_json(Json& j, const StatusView& view)
{
    j = {{"lists", view.lists}};
}

void to_json(Json& j, const OwnerEvent& event)
{
    if (event.released) {
        j = {{"released", event.lists}};
    } else {
        j = {{"owning", event.lists}, {"pid", event.pid}};
    }
}

void printJson(const StatusView& view) { printJson(Json(view)); }
void printJson(const OwnerEvent& event) { printJson(Json(event)); }
