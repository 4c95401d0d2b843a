#pragma once
#include <memory>
#include <string>
#include <vector>

#include "app/QueryWindowLocations.h"
#include "common/Alert.h"
#include "search/results/ResultsView.h"

namespace velmora {
class QueryWindowContentController;
}

namespace velmora::app {

// The interactive query window in the terminal (ncurses): the query field
// with its colouring, the location menu, the sorted results list with its
// columns, the progress line, running activities and alerts.
class TerminalWindow : public ResultsView {
 public:
  explicit TerminalWindow(std::vector<std::string> folders);
  ~TerminalWindow() override;
  // Runs until the person quits; the exit status.
  int run();

  // ResultsView
  void reloadData() override;
  void reloadItem(const UINodePtr& node) override;
  std::vector<UINodePtr> visibleNodes() override;
  void setCheckAnimation(bool running) override;
  void animationTick() override;

 private:
  enum class Focus { query, list };
  enum class Overlay { none, help, locations, scripts, folderPrompt };
  struct PendingAlert {
    Alert alert;
    Alert::Completion completion;
  };

  void draw();
  void drawTitle(int width);
  void drawQueryField(int row, int width);
  void drawList(int top, int height, int width);
  void drawStatus(int row, int width);
  void drawOverlay(int height, int width);
  void handleKey(int status, unsigned int key);
  void handleQueryKey(int status, unsigned int key);
  void handleListKey(int status, unsigned int key);
  void handleOverlayKey(int status, unsigned int key);
  void textChanged(std::string text);
  void moveCursor(long delta);
  void sortBy(std::size_t visibleColumnIndex);
  std::vector<UINode*> relevantNodes() const;
  void openNodes(bool revealFolder);
  void copyPaths();
  void runScript(std::size_t index);
  void setMessage(std::string message);
  int listHeight() const;

  QueryWindowLocations locations_;
  std::shared_ptr<QueryWindowContentController> controller_;
  std::vector<UINode*> rows_;
  std::size_t cursor_ = 0;
  std::size_t top_ = 0;
  const UINode* cursorNode_ = nullptr;
  std::size_t fieldCursor_ = 0;  // byte offset in the query text
  Focus focus_ = Focus::query;
  Overlay overlay_ = Overlay::none;
  std::size_t overlayCursor_ = 0;
  std::string prompt_;
  std::vector<PendingAlert> alerts_;
  std::string message_;
  bool checking_ = false;
  unsigned spinnerFrame_ = 0;
  bool dirty_ = true;
  bool quit_ = false;
  int activityToken_ = 0;
};

}  // namespace velmora::app
