#pragma once
#include <functional>
#include <memory>
#include <string>

#include "common/GCDAdditions.h"
#include "shell/QueryURL.h"

namespace velmora {

// Turns "velmora:" URLs handed over by the desktop into searches. Anything
// else starts nothing and is logged.
class URLHandler {
 public:
  using SearchRunner = std::function<void(const QueryURL&)>;

  URLHandler(GCDAdditions& delays, SearchRunner runner, double delaySeconds = 0.1);

  // The scheduled search, or nullptr when the URL is not ours.
  std::shared_ptr<Operation> handleURL(const std::string& url);
  // Runs the search after a short delay, so the window can settle first.
  std::shared_ptr<Operation> handleQueryURL(const QueryURL& request);

 private:
  GCDAdditions* delays_;
  SearchRunner runner_;
  double delaySeconds_;
};

}  // namespace velmora
