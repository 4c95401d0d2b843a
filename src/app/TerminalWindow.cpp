#include "app/TerminalWindow.h"

#include <curses.h>

#include <algorithm>
#include <iostream>

#include "app/ResultsListLayout.h"
#include "app/TerminalClipboard.h"
#include "app/TerminalText.h"
#include "app/TerminalWindowHelp.h"
#include "app/TerminalWindowScreen.h"
#include "common/AppDirectories.h"
#include "common/MainQueue.h"
#include "common/SharedAdditions.h"
#include "search/FileSystemSearch.h"
#include "shell/ActivityController.h"
#include "shell/QueryWindowContentController.h"
#include "shell/ScriptRunner.h"

namespace velmora::app {

namespace {

constexpr unsigned kEscape = 27;
constexpr unsigned ctrl(char c) { return static_cast<unsigned>(c) & 0x1f; }
// Keys read in one turn before the screen is drawn: a paste that the
// terminal does not bracket is taken in whole turns, not one key a frame.
constexpr int kKeysPerTurn = 4096;

// "1,234": a count as the progress line writes it.
std::string countText(std::size_t count) {
  const std::string digits = std::to_string(count);
  std::string out;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) out += ',';
    out += digits[i];
  }
  return out;
}

}  // namespace

TerminalWindow::TerminalWindow(std::vector<std::string> folders)
    : locations_(std::move(folders)),
      paste_(TerminalWindowScreen::pasteStartKey(), TerminalWindowScreen::pasteEndKey()) {
  QueryWindowEnvironment environment;
  environment.currentLocation = [this] { return locations_.currentLocation(); };
  controller_ = QueryWindowContentController::make(std::move(environment));
  controller_->onChange = [this] { dirty_ = true; };
  controller_->onFocusSearchField = [this] { focus_ = Focus::query; };
  controller_->outline().setView(this);
  locations_.onChange = [this] { dirty_ = true; };
}

TerminalWindow::~TerminalWindow() {
  opener_.cancel();
  controller_->outline().stopVisibleItemsCheck();
  controller_->outline().setView(nullptr);
  if (auto manager = controller_->currentSearchManager()) manager->stop();
  Alert::setPresenter({});
  if (activityToken_) ActivityController::shared().removeObserver(activityToken_);
}

int TerminalWindow::run() {
  TerminalWindowScreen screen;
  if (!screen.ok()) {
    std::cerr << "velmora: the query window needs a terminal; use \"velmora search QUERY\" otherwise\n";
    return 2;
  }
  MainQueue::adoptCurrentThread();
  controller_->outline().setupVisibleItemsCheck(Scheduler::main());
  Alert::setPresenter([this](const Alert& alert, Alert::Completion completion) {
    overlay_.addAlert(alert, std::move(completion));
    dirty_ = true;
  });
  activityToken_ = ActivityController::shared().addObserver([this] { dirty_ = true; });

  while (!quit_) turn();
  overlay_.answerAllAlerts(-1);
  return exitStatus_;
}

// One turn of the main loop: keys, a few openers, the main queue, the screen.
// Nothing here waits on a parse or a search, so a signal is seen within one
// turn (at most the key timeout).
void TerminalWindow::turn() {
  wint_t key = 0;
  int status = get_wch(&key);
  if (status != ERR) {
    handleKey(status, key);
    timeout(0);
    for (int more = 1; more < kKeysPerTurn && !quit_ && !TerminalWindowScreen::interrupted(); ++more) {
      status = get_wch(&key);
      if (status == ERR) break;
      handleKey(status, key);
    }
    timeout(50);
  }
  if (TerminalWindowScreen::interrupted()) {
    quit_ = true;
    exitStatus_ = 128 + TerminalWindowScreen::interruptingSignal();
    return;
  }
  if (opener_.pending() > 0) {
    if (auto failure = opener_.startSome()) setMessage(*failure);
    dirty_ = true;
  }
  MainQueue::poll();
  // The spinner turns while a search runs.
  if (++turns_ % 4 == 0 && controller_->progress().searchInProgress) {
    ++spinnerFrame_;
    dirty_ = true;
    // The crawl counts its folders; the search manager doesn't pass that on.
    if (auto manager = controller_->currentSearchManager()) {
      std::int64_t folders = 0;
      for (const auto& source : manager->allDataSources())
        if (auto* crawl = dynamic_cast<FileSystemSearch*>(source.get())) folders += crawl->numberOfDirecoriesSearched();
      if (folders > 0 && !manager->shouldStop()) controller_->searchDataSourceProgress(folders, std::string());
    }
  }
  if (dirty_ && !quit_) draw();
}

// ---- ResultsView

void TerminalWindow::reloadData() {
  rows_.clear();
  for (UINode* node : controller_->outline().displayContent()) {
    rows_.push_back(node);
    if (node->kind() == UINode::Kind::fileWithContentSummary) {
      node->children.access([&](const std::optional<std::vector<UINodePtr>>& children) {
        if (children)
          for (const auto& child : *children) rows_.push_back(child.get());
      });
    }
  }
  // The cursor stays on its row when that row is still there.
  auto it = std::find(rows_.begin(), rows_.end(), cursorNode_);
  std::size_t cursor = it != rows_.end() ? static_cast<std::size_t>(it - rows_.begin()) : viewport_.cursor();
  viewport_.setRows(rows_.size(), cursor);
  cursorNode_ = rows_.empty() ? nullptr : rows_[viewport_.cursor()];
  dirty_ = true;
}

void TerminalWindow::reloadItem(const UINodePtr&) { reloadData(); }

std::vector<UINodePtr> TerminalWindow::visibleNodes() {
  std::vector<UINodePtr> visible;
  const int height = std::max(listHeight(), 0);
  const std::size_t top = viewport_.top(height);
  for (std::size_t i = top; i < rows_.size() && i < top + static_cast<std::size_t>(height); ++i)
    visible.push_back(rows_[i]->shared_from_this());
  return visible;
}

void TerminalWindow::setCheckAnimation(bool running) {
  checking_ = running;
  dirty_ = true;
}

void TerminalWindow::animationTick() { dirty_ = true; }

// ---- drawing

int TerminalWindow::listHeight() const { return LINES - 5; }

void TerminalWindow::draw() {
  dirty_ = false;
  erase();
  int height = LINES, width = COLS;
  if (height < 6 || width < 24) {
    mvaddstr(0, 0, TerminalText::fit("Terminal too small", width).c_str());
    refresh();
    return;
  }
  drawTitle(width);
  drawList(3, listHeight(), width);
  drawStatus(height - 2, width);
  drawQueryField(1, width);
  overlay_.draw(height, width, locations_, relevantNodes().size());
  refresh();
}

void TerminalWindow::drawTitle(int width) {
  attron(COLOR_PAIR(TerminalWindowScreen::header) | A_BOLD);
  std::string right = "F2: " + locations_.chosenName() + " ";
  int rightWidth = std::min(width, TerminalText::cellWidth(right));
  std::string left = " " + controller_->windowTitle();
  mvaddstr(0, 0, TerminalText::fit(left, std::max(0, width - rightWidth)).c_str());
  addstr(TerminalText::fit(right, rightWidth).c_str());
  attroff(COLOR_PAIR(TerminalWindowScreen::header) | A_BOLD);
}

void TerminalWindow::drawQueryField(int row, int width) {
  const std::string& text = field_.text();
  const std::string label = "Find: ";
  mvaddstr(row, 0, label.c_str());
  const int first = static_cast<int>(label.size());
  const int last = width - (controller_->textFields().searching() ? 12 : 1);
  if (text.empty()) {
    attron(A_DIM);
    addstr(QueryTextFieldsVC::searchPlaceholder);
    attroff(A_DIM);
  }
  // The field scrolls sideways to keep the insertion point in view. Work
  // back from it: a pasted query may be long, and this runs at every draw.
  const std::size_t cursor = field_.cursor();
  const int room = std::max(1, last - 1 - first);
  if (fieldScroll_ > cursor || fieldScroll_ > text.size()) fieldScroll_ = cursor;
  {
    std::size_t start = cursor;
    int used = 0;
    while (start > fieldScroll_) {
      std::size_t before = TerminalText::previousCodePoint(text, start);
      used += TerminalText::cellWidth(text, before, start);
      if (used > room) break;
      start = before;
    }
    fieldScroll_ = start;
  }

  // Which characters are shown, then their colours from the query's style
  // runs (counted in characters of the text; later runs win).
  std::size_t firstIndex = 0;
  for (std::size_t at = 0; at < fieldScroll_; at = TerminalText::nextCodePoint(text, at)) ++firstIndex;
  struct Shown {
    std::size_t at, next;
    int width;
  };
  std::vector<Shown> shown;
  for (int column = first; fieldScroll_ < text.size();) {
    std::size_t at = shown.empty() ? fieldScroll_ : shown.back().next;
    if (at >= text.size()) break;
    std::size_t next = TerminalText::nextCodePoint(text, at);
    int w = TerminalText::cellWidth(text, at, next);
    if (column + w > last) break;
    shown.push_back({at, next, w});
    column += w;
  }
  std::vector<int> pairs(shown.size(), TerminalWindowScreen::normal);
  for (const auto& run : controller_->textFields().styleRuns()) {
    const auto runStart = static_cast<std::size_t>(std::max(run.location, 0));
    const auto runEnd = runStart + static_cast<std::size_t>(std::max(run.length, 0));
    int pair = TerminalWindowScreen::normal;
    if (run.colour == QueryContainer::kRecognisedColour)
      pair = TerminalWindowScreen::recognised;
    else if (run.colour == QueryContainer::kErrorColour)
      pair = TerminalWindowScreen::error;
    for (std::size_t i = std::max(runStart, firstIndex); i < runEnd && i < firstIndex + shown.size(); ++i)
      pairs[i - firstIndex] = pair;
  }
  int column = first, cursorColumn = first;
  for (std::size_t i = 0; i < shown.size(); ++i) {
    if (shown[i].at == cursor) cursorColumn = column;
    // The field holds no control characters (the editor drops them).
    attron(COLOR_PAIR(pairs[i]));
    mvaddnstr(row, column, text.data() + shown[i].at, static_cast<int>(shown[i].next - shown[i].at));
    attroff(COLOR_PAIR(pairs[i]));
    column += shown[i].width;
  }
  if (cursor >= text.size()) cursorColumn = column;
  if (controller_->textFields().searching()) mvaddstr(row, width - 12, " searching ");
  if (focus_ == Focus::query && !overlay_.showing()) {
    curs_set(1);
    move(row, std::min(cursorColumn, width - 1));
  } else {
    curs_set(0);
  }
}

void TerminalWindow::drawList(int top, int height, int width) {
  auto& outline = controller_->outline();
  ResultsListLayout layout(outline.visibleColumns(), width);
  attron(A_BOLD | A_UNDERLINE);
  mvaddstr(top - 1, 0, layout.header(outline.currentColumn(), outline.currentColumnReversed()).c_str());
  attroff(A_BOLD | A_UNDERLINE);

  if (height <= 0) return;
  const std::size_t first = viewport_.top(height);
  for (int i = 0; i < height && first + static_cast<std::size_t>(i) < rows_.size(); ++i) {
    const std::size_t index = first + static_cast<std::size_t>(i);
    const UINode& node = *rows_[index];
    if (node.kind() == UINode::Kind::contentSummary) {
      attron(A_DIM);
    } else {
      if (node.displayStrikeThroughText) attron(A_DIM);
      if (node.isSelected) attron(A_BOLD);
    }
    if (index == viewport_.cursor() && focus_ == Focus::list) attron(A_REVERSE);
    mvaddstr(top + i, 0, layout.row(node).c_str());
    attroff(A_REVERSE | A_DIM | A_BOLD);
  }
  if (rows_.empty() && !field_.text().empty() && !controller_->progress().searchInProgress) {
    attron(A_DIM);
    mvaddstr(top + 1, 2, TerminalText::fit("Type a query and press Return. ? or F1 shows the keys.", width - 2).c_str());
    attroff(A_DIM);
  }
}

void TerminalWindow::drawStatus(int row, int width) {
  std::string activity;
  for (const auto& item : ActivityController::shared().items()) {
    activity = item->leftText + (item->rightText.empty() ? "" : "  " + item->rightText);
    break;
  }
  std::string second = !message_.empty() ? message_ : activity;
  if (opener_.pending() > 0) second = "Opening\u2026 " + countText(opener_.pending()) + " to go";
  if (checking_) second = (second.empty() ? "" : second + "  ") + "checking rows\u2026";
  attron(A_DIM);
  mvaddstr(row, 0, TerminalText::fit(second, width).c_str());
  attroff(A_DIM);

  auto& progress = controller_->progress();
  static const char* spinner[] = {"|", "/", "-", "\\"};
  std::string left = progress.searchInProgress ? std::string(spinner[spinnerFrame_ % 4]) + " " : "  ";
  if (progress.showsErrorPicture()) {
    attron(COLOR_PAIR(TerminalWindowScreen::error) | A_BOLD);
    mvaddstr(row + 1, 0, "! ");
    attroff(COLOR_PAIR(TerminalWindowScreen::error) | A_BOLD);
  } else {
    mvaddstr(row + 1, 0, left.c_str());
  }
  const std::string hint = "  ? help";
  mvaddstr(row + 1, 2, TerminalText::fit(progress.text(), width - 2 - static_cast<int>(hint.size())).c_str());
  attron(A_DIM);
  addstr(hint.c_str());
  attroff(A_DIM);
}


// ---- keys

void TerminalWindow::handleKey(int status, unsigned key) {
  dirty_ = true;
  const bool function = status == KEY_CODE_YES;
  // What the terminal brackets as a paste is text, whatever has the focus.
  switch (paste_.feed(function, key)) {
    case BracketedPaste::Step::inPaste: return;
    case BracketedPaste::Step::ended: pasted(paste_.take()); return;
    case BracketedPaste::Step::notPaste: break;
  }
  if (function && key == KEY_RESIZE) return;
  if (overlay_.showing())
    return carryOut(overlay_.handleKey(status, key, locations_, ScriptRunner::availableScripts().size()));
  if ((function && key == KEY_F(10)) || (!function && key == ctrl('q'))) {
    quit_ = true;
    return;
  }
  if (function && key == KEY_F(1)) return overlay_.show(TerminalWindowOverlay::Kind::help);
  if (function && key == KEY_F(2)) return overlay_.show(TerminalWindowOverlay::Kind::locations);
  if (function && (key == KEY_F(6) || key == KEY_F(7))) {
    auto& outline = controller_->outline();
    const auto& visible = outline.visibleColumns();
    if (key == KEY_F(7)) {
      outline.setSortColumn(outline.currentColumn(), !outline.currentColumnReversed());
    } else if (!visible.empty()) {
      auto it = std::find(visible.begin(), visible.end(), outline.currentColumn());
      std::size_t next = it == visible.end() ? 0 : static_cast<std::size_t>(it - visible.begin() + 1) % visible.size();
      outline.setSortColumn(visible[next], false);
    }
    return;
  }
  if (focus_ == Focus::query)
    handleQueryKey(status, key);
  else
    handleListKey(status, key);
}

void TerminalWindow::pasted(const std::string& text) {
  if (overlay_.showing() && overlay_.paste(text)) return;
  focus_ = Focus::query;
  fieldEdited(field_.insert(text));
}


void TerminalWindow::fieldEdited(bool changed) {
  if (!changed) return;
  message_.clear();
  controller_->controlTextDidChange(field_.text());
  // The controller keeps the first line only.
  field_.setText(controller_->textFields().text());
}

void TerminalWindow::handleQueryKey(int status, unsigned key) {
  if (status == KEY_CODE_YES) {
    switch (key) {
      case KEY_BACKSPACE: fieldEdited(field_.backspace()); break;
      case KEY_DC: fieldEdited(field_.deleteForward()); break;
      case KEY_LEFT: field_.left(); break;
      case KEY_RIGHT: field_.right(); break;
      case KEY_HOME: field_.home(); break;
      case KEY_END: field_.end(); break;
      case KEY_ENTER: controller_->startSearchAction(); break;
      case KEY_DOWN:
        if (!rows_.empty()) focus_ = Focus::list;
        break;
      default: break;
    }
    return;
  }
  switch (key) {
    case kEscape: controller_->cancel(true); return;
    case '\r':
    case '\n': {
      // A script runs on the selection; without one, on the row under the cursor.
      if (controller_->outline().selectedNodes().empty() && cursorNode_ && viewport_.cursor() < rows_.size())
        rows_[viewport_.cursor()]->isSelected = true;
      controller_->startSearchAction();
      return;
    }
    case '\t':
      if (!rows_.empty()) focus_ = Focus::list;
      return;
    case 127:
    case 8: fieldEdited(field_.backspace()); return;
    case ctrl('a'): field_.home(); return;
    case ctrl('e'): field_.end(); return;
    case ctrl('u'): fieldEdited(field_.clear()); return;
    default: break;
  }
  if (key < 0x20) return;
  fieldEdited(field_.insert(TerminalText::encode(static_cast<char32_t>(key))));
}

void TerminalWindow::sortBy(std::size_t visibleColumnIndex) {
  auto& outline = controller_->outline();
  const auto& visible = outline.visibleColumns();
  if (visibleColumnIndex >= visible.size()) return;
  Column column = visible[visibleColumnIndex];
  bool reversed = column == outline.currentColumn() ? !outline.currentColumnReversed() : false;
  outline.setSortColumn(column, reversed);
}

void TerminalWindow::handleListKey(int status, unsigned key) {
  const int height = listHeight();
  const long page = std::max(1, height - 1);
  auto moveCursor = [&](long delta) {
    viewport_.moveBy(delta, height);
    cursorNode_ = rows_.empty() ? nullptr : rows_[viewport_.cursor()];
  };
  if (status == KEY_CODE_YES) {
    switch (key) {
      case KEY_UP:
        if (viewport_.cursor() == 0)
          focus_ = Focus::query;
        else
          moveCursor(-1);
        break;
      case KEY_DOWN: moveCursor(1); break;
      case KEY_PPAGE: moveCursor(-page); break;
      case KEY_NPAGE: moveCursor(page); break;
      case KEY_HOME: moveCursor(-static_cast<long>(rows_.size())); break;
      case KEY_END: moveCursor(static_cast<long>(rows_.size())); break;
      case KEY_ENTER: openNodes(false); break;
      default: break;
    }
    return;
  }
  switch (key) {
    case kEscape: controller_->cancel(true); break;
    case '\t':
    case '/': focus_ = Focus::query; break;
    case '\r':
    case '\n':
    case 'o': openNodes(false); break;
    case 'f': openNodes(true); break;
    case 'c': copyPaths(); break;
    case 'x': overlay_.show(TerminalWindowOverlay::Kind::scripts); break;
    case '?': overlay_.show(TerminalWindowOverlay::Kind::help); break;
    case 'q': quit_ = true; break;
    case 'r': {
      auto& outline = controller_->outline();
      outline.setSortColumn(outline.currentColumn(), !outline.currentColumnReversed());
      break;
    }
    case ' ':
      if (viewport_.cursor() < rows_.size() && rows_[viewport_.cursor()]->kind() != UINode::Kind::contentSummary) {
        rows_[viewport_.cursor()]->isSelected = !rows_[viewport_.cursor()]->isSelected;
        moveCursor(1);
      }
      break;
    case 'a': {
      bool any = !controller_->outline().selectedNodes().empty();
      for (UINode* node : controller_->outline().displayContent()) node->isSelected = !any;
      break;
    }
    default:
      if (key >= '1' && key <= '9') sortBy(key - '1');
      break;
  }
}



void TerminalWindow::carryOut(const TerminalWindowOverlay::Choice& choice) {
  using What = TerminalWindowOverlay::Choice::What;
  switch (choice.what) {
    case What::none: return;
    case What::location:
      locations_.choose(locations_.items()[choice.index].name);
      if (!field_.text().empty()) controller_->doSearch();
      return;
    case What::folder: {
      Status chosen = locations_.chooseFolder(choice.text);
      if (!chosen.ok()) return overlay_.refuseFolder(chosen.message());
      overlay_.close();
      if (!field_.text().empty()) controller_->doSearch();
      return;
    }
    case What::script: runScript(choice.index); return;
  }
}

// ---- actions on results

std::vector<UINode*> TerminalWindow::relevantNodes() const {
  std::vector<UINode*> nodes;
  for (UINode* node : controller_->outline().displayContent())
    if (node->isSelected) nodes.push_back(node);
  if (nodes.empty() && viewport_.cursor() < rows_.size()) nodes.push_back(rows_[viewport_.cursor()]);
  return nodes;
}

void TerminalWindow::openNodes(bool revealFolder) {
  std::vector<std::string> paths;
  for (UINode* node : relevantNodes()) paths.push_back(node->fileURL);
  auto targets = DesktopOpener::targets(paths, revealFolder);
  if (targets.empty()) return;
  std::string what = revealFolder ? "Showing the enclosing folder" : "Opening " + SharedAdditions::displayName(paths.front());
  if (!DesktopOpener::needsConfirmation(targets.size())) {
    opener_.enqueue(targets);
    setMessage(what);
    return;
  }
  // Many at once is asked first, as file managers do.
  const std::string count = countText(targets.size());
  Alert alert{revealFolder ? "Show " + count + " folders?" : "Open " + count + " items?",
              "Each opens in a program of its own.",
              {revealFolder ? "Show All" : "Open All", "Cancel"}};
  Alert::show(std::move(alert), [this, targets, what](int button) {
    if (button != 0) return;
    opener_.enqueue(targets);
    setMessage(what);
  });
}

void TerminalWindow::copyPaths() {
  auto nodes = relevantNodes();
  if (nodes.empty()) return;
  std::string paths;
  for (UINode* node : nodes) paths += (paths.empty() ? "" : "\n") + node->fileURL;
  if (!TerminalClipboard::copy(paths)) {
    setMessage("Could not copy: the terminal took no output");
    return;
  }
  setMessage(nodes.size() == 1 ? "Copied " + paths : "Copied " + countText(nodes.size()) + " paths");
}

void TerminalWindow::runScript(std::size_t index) {
  auto scripts = ScriptRunner::availableScripts();
  if (index >= scripts.size()) return;
  std::vector<std::string> files;
  for (UINode* node : relevantNodes()) files.push_back(node->fileURL);
  const auto& [name, path] = scripts[index];
  setMessage("Running " + name + " on " + std::to_string(files.size()) + " item(s)");
  ScriptRunner::run(path, files, [name = name](const ScriptRunner::Outcome& outcome) {
    if (!outcome.error.empty())
      Alert::show({"Script", outcome.error, {}});
    else
      Alert::show({"Script", "\"" + name + "\" finished.", {}});
  });
}

void TerminalWindow::setMessage(std::string message) {
  message_ = std::move(message);
  dirty_ = true;
}

}  // namespace velmora::app
