#include "shell/URLHandler.h"

#include "common/Logger.h"

namespace velmora {

URLHandler::URLHandler(GCDAdditions& delays, SearchRunner runner, double delaySeconds)
    : delays_(&delays), runner_(std::move(runner)), delaySeconds_(delaySeconds) {}

std::shared_ptr<Operation> URLHandler::handleURL(const std::string& url) {
  auto request = QueryURL::parse(url);
  if (!request) {
    Logger::shared().log("URL ignored, it does not begin with \"velmora:\": " + url);
    return nullptr;
  }
  return handleQueryURL(*request);
}

std::shared_ptr<Operation> URLHandler::handleQueryURL(const QueryURL& request) {
  VLOG("search for \"{}\" in {}", request.text, request.location.value_or("the default location"));
  return delays_->perform(delaySeconds_, [runner = runner_, request] {
    if (runner) runner(request);
  });
}

}  // namespace velmora
