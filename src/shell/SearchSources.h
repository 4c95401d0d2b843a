#pragma once
#include "search/SearchManager.h"

namespace velmora {

// The application's table of data sources, in start order, and the filter for
// system and invisible items: what every search of the window, the command
// line and the network services runs on.
namespace SearchSources {
SearchManagerEnvironment standardEnvironment();
}  // namespace SearchSources

}  // namespace velmora
