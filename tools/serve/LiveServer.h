#ifndef V2XSHM_TOOLS_SERVE_LIVESERVER_H
#define V2XSHM_TOOLS_SERVE_LIVESERVER_H

#include <string>

// The live page's HTTP server.
//
// Routes (GET and HEAD only; any other method is answered 405 with Allow):
//   /               the page (HTML, script and style in one document)
//   /map.svg        the picture now
//   /api/state      the side panel's state (see LiveLists.h)
//   /api/lists      the names of the served lists
//   /api/list/NAME  one list's JSON view
// Anything else is 404.
//
// One sampling thread reads the lists (at most ten times a second, and only
// while somebody asked in the last seconds) into a snapshot of finished
// texts; requests are answered from the newest snapshot, so no list's lock
// is ever held while a socket is written and a slow client only holds its
// own worker. Clients are served by a fixed pool of workers; connections
// beyond what the pool and a short queue take are answered 503 at once, and
// read and write timeouts free a worker from a client that stops talking.

struct ServeOptions {
    std::string bind = "127.0.0.1";
    int port = 8080;
};

// Serves until SIGINT or SIGTERM. Returns the process's exit code; prints
// "serving http://ADDRESS:PORT/" on stdout once listening.
int serveLivePage(const ServeOptions& options);

// The page itself (LivePage.cpp).
extern const char* const LIVE_PAGE_HTML;

#endif
