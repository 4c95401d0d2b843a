#pragma once
#include <memory>
#include <string>
#include <vector>

#include "app/BracketedPaste.h"
#include "app/DesktopOpener.h"
#include "app/QueryFieldEditor.h"
#include "app/QueryWindowLocations.h"
#include "app/ResultsListViewport.h"
#include "app/TerminalWindowOverlay.h"
#include "search/results/ResultsView.h"

namespace velmora {
class QueryWindowContentController;
}

namespace velmora::app {

// The interactive query window in the terminal (ncurses): the query field
// with its colouring, the location menu, the sorted results list with its
// columns, the progress line, running activities and alerts. It draws and
// routes keys; the parts with rules of their own live in their own types
// (TerminalText, ResultsListLayout, ResultsListViewport, QueryFieldEditor,
// BracketedPaste, DesktopOpener, TerminalClipboard), and what stands over the
// list (alerts, menus, the folder prompt) is a TerminalWindowOverlay.
class TerminalWindow : public ResultsView {
 public:
  explicit TerminalWindow(std::vector<std::string> folders);
  ~TerminalWindow() override;
  // Runs until the person quits; the exit status (128 + the signal when one
  // ended the window).
  int run();

  // ResultsView
  void reloadData() override;
  void reloadItem(const UINodePtr& node) override;
  std::vector<UINodePtr> visibleNodes() override;
  void setCheckAnimation(bool running) override;
  void animationTick() override;

 private:
  enum class Focus { query, list };

  void turn();
  void draw();
  void drawTitle(int width);
  void drawQueryField(int row, int width);
  void drawList(int top, int height, int width);
  void drawStatus(int row, int width);
  void handleKey(int status, unsigned int key);
  void handleQueryKey(int status, unsigned int key);
  void handleListKey(int status, unsigned int key);
  void carryOut(const TerminalWindowOverlay::Choice& choice);
  void pasted(const std::string& text);
  void fieldEdited(bool changed);
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
  ResultsListViewport viewport_;
  const UINode* cursorNode_ = nullptr;
  QueryFieldEditor field_;
  std::size_t fieldScroll_ = 0;  // byte offset of the first character shown
  BracketedPaste paste_;
  DesktopOpener opener_;
  Focus focus_ = Focus::query;
  TerminalWindowOverlay overlay_;
  std::string message_;
  bool checking_ = false;
  unsigned spinnerFrame_ = 0;
  unsigned turns_ = 0;
  bool dirty_ = true;
  bool quit_ = false;
  int exitStatus_ = 0;
  int activityToken_ = 0;
};

}  // namespace velmora::app
