#pragma once
#include <vector>

#include "search/results/UINode.h"

namespace velmora {

// What the results list's controller needs of a view. All calls come on the
// main thread.
class ResultsView {
 public:
  virtual ~ResultsView() = default;
  // The list (displayContent) changed as a whole.
  virtual void reloadData() = 0;
  // One row changed (struck through, new kind, summary lines).
  virtual void reloadItem(const UINodePtr& node) = 0;
  // The rows on screen now, top to bottom.
  virtual std::vector<UINodePtr> visibleNodes() = 0;
  // Checks of rows on screen started or all ended; a tick each second while they run.
  virtual void setCheckAnimation(bool running) { (void)running; }
  virtual void animationTick() {}
};

}  // namespace velmora
