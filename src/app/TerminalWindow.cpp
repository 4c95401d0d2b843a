#include "app/TerminalWindow.h"

#include <curses.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cwchar>
#include <ctime>
#include <iostream>
#include <thread>

#include "app/TerminalWindowScreen.h"
#include "common/AppDirectories.h"
#include "common/ChildProcess.h"
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

// ---- text measured in terminal cells

std::size_t nextCodePoint(const std::string& text, std::size_t at) {
  if (at >= text.size()) return text.size();
  ++at;
  while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) ++at;
  return at;
}

std::size_t previousCodePoint(const std::string& text, std::size_t at) {
  if (at == 0) return 0;
  --at;
  while (at > 0 && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) --at;
  return at;
}

int cellWidth(const std::string& text, std::size_t from, std::size_t to) {
  std::mbstate_t state{};
  int width = 0;
  for (std::size_t at = from; at < to;) {
    wchar_t wide = 0;
    std::size_t used = std::mbrtowc(&wide, text.data() + at, to - at, &state);
    if (used == 0 || used == static_cast<std::size_t>(-1) || used == static_cast<std::size_t>(-2)) {
      state = {};
      ++width;
      ++at;
      continue;
    }
    int w = ::wcwidth(wide);
    width += w < 0 ? 1 : w;
    at += used;
  }
  return width;
}

// The text cut (with "…") or padded with blanks to exactly `width` cells.
std::string fit(const std::string& text, int width) {
  if (width <= 0) return {};
  std::string out;
  int used = 0;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t next = nextCodePoint(text, at);
    int w = cellWidth(text, at, next);
    bool last = next >= text.size();
    if (used + w > width || (!last && used + w == width && cellWidth(text, next, text.size()) > 0)) {
      if (used + w > width - 1 || !last) {
        while (used > width - 1 && !out.empty()) {
          std::size_t back = previousCodePoint(out, out.size());
          used -= cellWidth(out, back, out.size());
          out.resize(back);
        }
        out += "\u2026";
        used += 1;
        break;
      }
    }
    char c = text[at];
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';
    if (next == at + 1)
      out += c;
    else
      out.append(text, at, next - at);
    used += w;
    at = next;
  }
  if (used < width) out.append(static_cast<std::size_t>(width - used), ' ');
  return out;
}

std::string dateText(std::int64_t seconds) {
  if (seconds == 0) return "--";
  std::time_t t = static_cast<std::time_t>(seconds);
  std::tm local{};
  localtime_r(&t, &local);
  char buffer[32];
  std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M", &local);
  return buffer;
}

struct ColumnLayout {
  Column column;
  const char* title;
  int width;
};

ColumnLayout layoutFor(Column column) {
  switch (column) {
    case Column::size: return {column, "Size", 10};
    case Column::modDate: return {column, "Modified", 16};
    case Column::created: return {column, "Created", 16};
    case Column::kind: return {column, "Kind", 20};
    case Column::inside: return {column, "Inside", 18};
    case Column::rank: return {column, "Rank", 6};
    case Column::path: return {column, "Path", 30};
    case Column::image: return {column, "Image", 6};
    case Column::name: break;
  }
  return {Column::name, "Name", 0};
}

std::string cellText(const UINode& node, Column column) {
  switch (column) {
    case Column::name: return node.displayName();
    case Column::size: return node.displayTotalSize;
    case Column::modDate: return dateText(node.modificationDate);
    case Column::created: return dateText(node.creationDate);
    case Column::kind: return node.displayKind();
    case Column::inside: return node.displayInside;
    case Column::rank: return std::to_string(node.contentSearchResultsRank);
    case Column::path: return node.displayPath;
    case Column::image: return {};
  }
  return {};
}

// Starts a program with its output discarded and reaps it in the background.
bool launch(std::vector<std::string> arguments) {
  auto started = ChildProcess::spawnQuietly(std::move(arguments), /*searchPath=*/true);
  if (!started) return false;
  ChildProcess::reapInBackground(started.pid);
  return true;
}

std::string base64(const std::string& bytes) {
  static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  std::size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    unsigned v = (static_cast<unsigned char>(bytes[i]) << 16) | (static_cast<unsigned char>(bytes[i + 1]) << 8) |
                 static_cast<unsigned char>(bytes[i + 2]);
    out += {digits[v >> 18], digits[(v >> 12) & 63], digits[(v >> 6) & 63], digits[v & 63]};
  }
  if (i + 1 == bytes.size()) {
    unsigned v = static_cast<unsigned char>(bytes[i]) << 16;
    out += {digits[v >> 18], digits[(v >> 12) & 63], '=', '='};
  } else if (i + 2 == bytes.size()) {
    unsigned v = (static_cast<unsigned char>(bytes[i]) << 16) | (static_cast<unsigned char>(bytes[i + 1]) << 8);
    out += {digits[v >> 18], digits[(v >> 12) & 63], digits[(v >> 6) & 63], '='};
  }
  return out;
}

const std::vector<std::string>& helpLines() {
  static const std::vector<std::string> lines{
      "Velmora keys",
      "",
      "  typing           edit the query; Return starts the search",
      "  Esc              stop the search; twice: back to the query field",
      "  Tab, Down        to the results; Tab or / back to the query",
      "  F2               choose where to search (disks, home, a folder)",
      "  F6, F7           sort by the next column, reverse the sort",
      "  1-6              sort by that column (again: reverse)",
      "  Space, a         select a result, select all or none",
      "  Return, o        open with the desktop's program",
      "  f                show the enclosing folder",
      "  c                copy the path(s)",
      "  x                run a script of the scripts folder on the selection",
      "  ?, F1            this help       q, F10, Ctrl-Q   quit",
      "",
      "Query examples",
      "",
      "  report budget              names holding both words",
      "  report : modified today    words, then commands after a colon",
      "  .m4v : bigger than 10mb    an extension and a size",
      "  : modified today is audio  only commands",
      "  : run tidy                 run the script \"tidy\" on the selection",
      "",
      "Press any key.",
  };
  return lines;
}

}  // namespace

TerminalWindow::TerminalWindow(std::vector<std::string> folders) : locations_(std::move(folders)) {
  QueryWindowEnvironment environment;
  environment.currentLocation = [this] { return locations_.currentLocation(); };
  controller_ = QueryWindowContentController::make(std::move(environment));
  controller_->onChange = [this] { dirty_ = true; };
  controller_->onFocusSearchField = [this] { focus_ = Focus::query; };
  controller_->outline().setView(this);
  locations_.onChange = [this] { dirty_ = true; };
}

TerminalWindow::~TerminalWindow() {
  controller_->outline().stopVisibleItemsCheck();
  controller_->outline().setView(nullptr);
  if (auto manager = controller_->currentSearchManager()) {
    manager->stop();
    manager->waitUntilDone();
  }
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
    alerts_.push_back({alert, std::move(completion)});
    dirty_ = true;
  });
  activityToken_ = ActivityController::shared().addObserver([this] { dirty_ = true; });

  unsigned idle = 0;
  while (!quit_) {
    wint_t key = 0;
    int status = get_wch(&key);
    if (status != ERR) handleKey(status, key);
    MainQueue::poll();
    if (TerminalWindowScreen::interrupted()) quit_ = true;
    // The spinner turns while a search runs.
    if (++idle % 4 == 0 && controller_->progress().searchInProgress) {
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
  for (auto& pending : alerts_)
    if (pending.completion) pending.completion(-1);
  alerts_.clear();
  return 0;
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
  cursor_ = it != rows_.end() ? static_cast<std::size_t>(it - rows_.begin())
                              : std::min(cursor_, rows_.empty() ? 0 : rows_.size() - 1);
  cursorNode_ = rows_.empty() ? nullptr : rows_[cursor_];
  dirty_ = true;
}

void TerminalWindow::reloadItem(const UINodePtr&) { reloadData(); }

std::vector<UINodePtr> TerminalWindow::visibleNodes() {
  std::vector<UINodePtr> visible;
  int height = listHeight();
  for (std::size_t i = top_; i < rows_.size() && i < top_ + static_cast<std::size_t>(std::max(height, 0)); ++i)
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
    mvaddstr(0, 0, "Terminal too small");
    refresh();
    return;
  }
  drawTitle(width);
  drawList(3, listHeight(), width);
  drawStatus(height - 2, width);
  drawQueryField(1, width);
  if (overlay_ != Overlay::none || !alerts_.empty()) drawOverlay(height, width);
  refresh();
}

void TerminalWindow::drawTitle(int width) {
  attron(COLOR_PAIR(TerminalWindowScreen::header) | A_BOLD);
  std::string right = "F2: " + locations_.chosenName() + " ";
  int rightWidth = cellWidth(right, 0, right.size());
  std::string left = " " + controller_->windowTitle();
  mvaddstr(0, 0, fit(left, std::max(0, width - rightWidth)).c_str());
  addstr(fit(right, std::min(width, rightWidth)).c_str());
  attroff(COLOR_PAIR(TerminalWindowScreen::header) | A_BOLD);
}

void TerminalWindow::drawQueryField(int row, int width) {
  const std::string& text = controller_->textFields().text();
  const std::string label = "Find: ";
  mvaddstr(row, 0, label.c_str());
  int column = static_cast<int>(label.size());
  if (text.empty()) {
    attron(A_DIM);
    addstr(QueryTextFieldsVC::searchPlaceholder);
    attroff(A_DIM);
  }
  // Colour of each character from the query's style runs (later ones win).
  auto runs = controller_->textFields().styleRuns();
  int index = 0, cursorColumn = column;
  for (std::size_t at = 0; at < text.size(); ++index) {
    std::size_t next = nextCodePoint(text, at);
    if (at == fieldCursor_) cursorColumn = column;
    int pair = TerminalWindowScreen::normal;
    for (const auto& run : runs)
      if (index >= run.location && index < run.location + run.length) {
        if (run.colour == QueryContainer::kRecognisedColour)
          pair = TerminalWindowScreen::recognised;
        else if (run.colour == QueryContainer::kErrorColour)
          pair = TerminalWindowScreen::error;
        else
          pair = TerminalWindowScreen::normal;
      }
    int w = cellWidth(text, at, next);
    if (column + w < width) {
      attron(COLOR_PAIR(pair));
      mvaddnstr(row, column, text.data() + at, static_cast<int>(next - at));
      attroff(COLOR_PAIR(pair));
    }
    column += w;
    at = next;
  }
  if (fieldCursor_ >= text.size()) cursorColumn = column;
  if (controller_->textFields().searching()) mvaddstr(row, width - 12, " searching ");
  if (focus_ == Focus::query && overlay_ == Overlay::none && alerts_.empty()) {
    curs_set(1);
    move(row, std::min(cursorColumn, width - 1));
  } else {
    curs_set(0);
  }
}

void TerminalWindow::drawList(int top, int height, int width) {
  auto& outline = controller_->outline();
  std::vector<ColumnLayout> columns;
  int used = 2;
  for (Column column : outline.visibleColumns()) {
    if (column == Column::name) continue;
    ColumnLayout layout = layoutFor(column);
    if (used + layout.width + 1 + 12 > width) break;
    columns.push_back(layout);
    used += layout.width + 1;
  }
  int nameWidth = width - used;
  auto header = [&](const ColumnLayout& layout, int cellWidth) {
    std::string title = layout.title;
    if (outline.currentColumn() == layout.column) title += outline.currentColumnReversed() ? " \u25BC" : " \u25B2";
    return fit(title, cellWidth);
  };
  attron(A_BOLD | A_UNDERLINE);
  std::string line = "  " + header({Column::name, "Name", 0}, nameWidth);
  for (const auto& layout : columns) line += " " + header(layout, layout.width);
  mvaddstr(top - 1, 0, line.c_str());
  attroff(A_BOLD | A_UNDERLINE);

  if (height <= 0) return;
  if (cursor_ < top_) top_ = cursor_;
  if (cursor_ >= top_ + static_cast<std::size_t>(height)) top_ = cursor_ - height + 1;
  if (top_ + static_cast<std::size_t>(height) > rows_.size())
    top_ = rows_.size() > static_cast<std::size_t>(height) ? rows_.size() - height : 0;
  for (int i = 0; i < height && top_ + i < rows_.size(); ++i) {
    std::size_t index = top_ + i;
    const UINode& node = *rows_[index];
    std::string row;
    if (node.kind() == UINode::Kind::contentSummary) {
      row = "      " + fit(*node.summaryLine, width - 6);
      attron(A_DIM);
    } else {
      bool missing = node.displayStrikeThroughText;
      std::string marker = node.isSelected ? "*" : " ";
      row = marker + " " + fit((missing ? "\u2717 " : "") + node.displayName(), nameWidth);
      for (const auto& layout : columns) {
        std::string text = cellText(node, layout.column);
        if (layout.column == Column::size || layout.column == Column::rank) {
          int w = cellWidth(text, 0, text.size());
          if (w < layout.width) text = std::string(layout.width - w, ' ') + text;
        }
        row += " " + fit(text, layout.width);
      }
      if (missing) attron(A_DIM);
      if (node.isSelected) attron(A_BOLD);
    }
    bool atCursor = index == cursor_ && focus_ == Focus::list;
    if (atCursor) attron(A_REVERSE);
    mvaddstr(top + i, 0, row.c_str());
    attroff(A_REVERSE | A_DIM | A_BOLD);
  }
  if (rows_.empty() && !controller_->textFields().text().empty() && !controller_->progress().searchInProgress) {
    attron(A_DIM);
    mvaddstr(top + 1, 2, "Type a query and press Return. ? or F1 shows the keys.");
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
  if (checking_) second = (second.empty() ? "" : second + "  ") + "checking rows\u2026";
  attron(A_DIM);
  mvaddstr(row, 0, fit(second, width).c_str());
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
  mvaddstr(row + 1, 2, fit(progress.text(), width - 2 - static_cast<int>(hint.size())).c_str());
  attron(A_DIM);
  addstr(hint.c_str());
  attroff(A_DIM);
}

void TerminalWindow::drawOverlay(int height, int width) {
  std::vector<std::string> lines;
  std::string title;
  std::size_t highlighted = static_cast<std::size_t>(-1);
  if (!alerts_.empty()) {
    const Alert& alert = alerts_.front().alert;
    title = alert.title;
    lines.push_back(alert.text);
    lines.push_back("");
    lines.push_back("Press any key.");
  } else if (overlay_ == Overlay::help) {
    title = "Help";
    lines = helpLines();
  } else if (overlay_ == Overlay::locations) {
    title = "Search location";
    for (const auto& item : locations_.items())
      lines.push_back((item.name == locations_.chosenName() ? "\u2022 " : "  ") + item.name);
    lines.push_back("  a folder\u2026");
    highlighted = overlayCursor_;
  } else if (overlay_ == Overlay::scripts) {
    title = "Run a script on " + std::to_string(relevantNodes().size()) + " item(s)";
    auto scripts = ScriptRunner::availableScripts();
    if (scripts.empty()) lines.push_back("No scripts in " + AppDirectories::applicationScriptsDirectory().string());
    for (const auto& [name, path] : scripts) lines.push_back("  " + name);
    highlighted = overlayCursor_;
  } else if (overlay_ == Overlay::folderPrompt) {
    title = "Search in folder (Return to choose, Esc to cancel)";
    lines.push_back(prompt_);
  }
  int boxWidth = std::min(width - 2, 76);
  int boxHeight = std::min(height - 2, static_cast<int>(lines.size()) + 2);
  int top = std::max(0, (height - boxHeight) / 2), left = std::max(0, (width - boxWidth) / 2);
  std::size_t first = 0;
  if (highlighted != static_cast<std::size_t>(-1) && highlighted >= static_cast<std::size_t>(boxHeight - 2))
    first = highlighted - (boxHeight - 3);
  for (int r = 0; r < boxHeight; ++r) {
    std::string text;
    if (r == 0 || r == boxHeight - 1) {
      std::string bar = r == 0 ? "\u250C " + title + " " : "\u2514";
      text = bar;
      int w = cellWidth(text, 0, text.size());
      for (int i = w; i < boxWidth - 1; ++i) text += "\u2500";
      text += r == 0 ? "\u2510" : "\u2518";
    } else {
      std::size_t index = first + r - 1;
      std::string content = index < lines.size() ? lines[index] : "";
      if (index == highlighted) attron(A_REVERSE);
      mvaddstr(top + r, left, "\u2502");
      addstr(fit(content, boxWidth - 2).c_str());
      attroff(A_REVERSE);
      addstr("\u2502");
      continue;
    }
    mvaddstr(top + r, left, text.c_str());
  }
}

// ---- keys

void TerminalWindow::handleKey(int status, unsigned key) {
  dirty_ = true;
  if (status == KEY_CODE_YES && key == KEY_RESIZE) return;
  if (!alerts_.empty()) {
    auto pending = std::move(alerts_.front());
    alerts_.erase(alerts_.begin());
    if (pending.completion) pending.completion(0);
    return;
  }
  if (overlay_ != Overlay::none) return handleOverlayKey(status, key);
  bool function = status == KEY_CODE_YES;
  if ((function && key == KEY_F(10)) || (!function && key == ctrl('q'))) {
    quit_ = true;
    return;
  }
  if (function && key == KEY_F(1)) {
    overlay_ = Overlay::help;
    return;
  }
  if (function && key == KEY_F(2)) {
    overlay_ = Overlay::locations;
    overlayCursor_ = 0;
    return;
  }
  if (function && (key == KEY_F(6) || key == KEY_F(7))) {
    auto& outline = controller_->outline();
    const auto& visible = outline.visibleColumns();
    if (key == KEY_F(7)) {
      outline.setSortColumn(outline.currentColumn(), !outline.currentColumnReversed());
    } else {
      auto it = std::find(visible.begin(), visible.end(), outline.currentColumn());
      std::size_t next = it == visible.end() ? 0 : (it - visible.begin() + 1) % visible.size();
      outline.setSortColumn(visible[next], false);
    }
    return;
  }
  if (focus_ == Focus::query)
    handleQueryKey(status, key);
  else
    handleListKey(status, key);
}

void TerminalWindow::textChanged(std::string text) {
  message_.clear();
  controller_->controlTextDidChange(text);
  fieldCursor_ = std::min(fieldCursor_, controller_->textFields().text().size());
}

void TerminalWindow::handleQueryKey(int status, unsigned key) {
  std::string text = controller_->textFields().text();
  if (status == KEY_CODE_YES) {
    switch (key) {
      case KEY_BACKSPACE:
        if (fieldCursor_ > 0) {
          std::size_t from = previousCodePoint(text, fieldCursor_);
          text.erase(from, fieldCursor_ - from);
          fieldCursor_ = from;
          textChanged(text);
        }
        break;
      case KEY_DC:
        if (fieldCursor_ < text.size()) {
          text.erase(fieldCursor_, nextCodePoint(text, fieldCursor_) - fieldCursor_);
          textChanged(text);
        }
        break;
      case KEY_LEFT: fieldCursor_ = previousCodePoint(text, fieldCursor_); break;
      case KEY_RIGHT: fieldCursor_ = nextCodePoint(text, fieldCursor_); break;
      case KEY_HOME: fieldCursor_ = 0; break;
      case KEY_END: fieldCursor_ = text.size(); break;
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
      if (controller_->outline().selectedNodes().empty() && cursorNode_ && cursor_ < rows_.size())
        rows_[cursor_]->isSelected = true;
      controller_->startSearchAction();
      return;
    }
    case '\t':
      if (!rows_.empty()) focus_ = Focus::list;
      return;
    case 127:
    case 8: handleQueryKey(KEY_CODE_YES, KEY_BACKSPACE); return;
    case ctrl('a'): fieldCursor_ = 0; return;
    case ctrl('e'): fieldCursor_ = text.size(); return;
    case ctrl('u'):
      fieldCursor_ = 0;
      textChanged("");
      return;
    default: break;
  }
  if (key < 0x20) return;
  wchar_t wide[2] = {static_cast<wchar_t>(key), 0};
  char bytes[MB_LEN_MAX * 2] = {};
  std::mbstate_t state{};
  std::size_t length = std::wcrtomb(bytes, wide[0], &state);
  if (length == static_cast<std::size_t>(-1)) return;
  text.insert(fieldCursor_, bytes, length);
  fieldCursor_ += length;
  textChanged(text);
}

void TerminalWindow::moveCursor(long delta) {
  if (rows_.empty()) return;
  long next = static_cast<long>(cursor_) + delta;
  cursor_ = static_cast<std::size_t>(std::clamp(next, 0L, static_cast<long>(rows_.size()) - 1));
  cursorNode_ = rows_[cursor_];
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
  int page = std::max(1, listHeight() - 1);
  if (status == KEY_CODE_YES) {
    switch (key) {
      case KEY_UP:
        if (cursor_ == 0)
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
    case 'x':
      overlay_ = Overlay::scripts;
      overlayCursor_ = 0;
      break;
    case '?': overlay_ = Overlay::help; break;
    case 'q': quit_ = true; break;
    case 'r': {
      auto& outline = controller_->outline();
      outline.setSortColumn(outline.currentColumn(), !outline.currentColumnReversed());
      break;
    }
    case ' ':
      if (cursor_ < rows_.size() && rows_[cursor_]->kind() != UINode::Kind::contentSummary) {
        rows_[cursor_]->isSelected = !rows_[cursor_]->isSelected;
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

void TerminalWindow::handleOverlayKey(int status, unsigned key) {
  bool function = status == KEY_CODE_YES;
  std::size_t count = 0;
  if (overlay_ == Overlay::locations) count = locations_.items().size() + 1;
  if (overlay_ == Overlay::scripts) count = ScriptRunner::availableScripts().size();
  if (overlay_ == Overlay::help) {
    overlay_ = Overlay::none;
    return;
  }
  if (overlay_ == Overlay::folderPrompt) {
    if (!function && key == kEscape) {
      overlay_ = Overlay::none;
    } else if ((!function && (key == '\r' || key == '\n')) || (function && key == KEY_ENTER)) {
      if (locations_.chooseFolder(prompt_)) {
        overlay_ = Overlay::none;
        if (!controller_->textFields().text().empty()) controller_->doSearch();
      } else {
        setMessage("\"" + prompt_ + "\" is no folder.");
      }
    } else if ((function && key == KEY_BACKSPACE) || (!function && (key == 127 || key == 8))) {
      if (!prompt_.empty()) prompt_.erase(previousCodePoint(prompt_, prompt_.size()));
    } else if (!function && key >= 0x20) {
      char bytes[MB_LEN_MAX] = {};
      std::mbstate_t state{};
      std::size_t length = std::wcrtomb(bytes, static_cast<wchar_t>(key), &state);
      if (length != static_cast<std::size_t>(-1)) prompt_.append(bytes, length);
    }
    return;
  }
  if (function && key == KEY_UP && overlayCursor_ > 0) --overlayCursor_;
  else if (function && key == KEY_DOWN && overlayCursor_ + 1 < count) ++overlayCursor_;
  else if (!function && key == kEscape) overlay_ = Overlay::none;
  else if ((!function && (key == '\r' || key == '\n')) || (function && key == KEY_ENTER)) {
    if (overlay_ == Overlay::locations) {
      if (overlayCursor_ < locations_.items().size()) {
        locations_.choose(locations_.items()[overlayCursor_].name);
        overlay_ = Overlay::none;
        if (!controller_->textFields().text().empty()) controller_->doSearch();
      } else {
        overlay_ = Overlay::folderPrompt;
        prompt_.clear();
      }
    } else if (overlay_ == Overlay::scripts) {
      overlay_ = Overlay::none;
      if (count > 0) runScript(overlayCursor_);
    }
  }
}

// ---- actions on results

std::vector<UINode*> TerminalWindow::relevantNodes() const {
  std::vector<UINode*> nodes;
  for (UINode* node : controller_->outline().displayContent())
    if (node->isSelected) nodes.push_back(node);
  if (nodes.empty() && cursor_ < rows_.size()) nodes.push_back(rows_[cursor_]);
  return nodes;
}

void TerminalWindow::openNodes(bool revealFolder) {
  auto nodes = relevantNodes();
  for (UINode* node : nodes) {
    std::string target = node->fileURL;
    if (revealFolder) {
      auto slash = target.find_last_of('/');
      target = slash == 0 ? "/" : target.substr(0, slash);
    }
    if (!launch({"xdg-open", target})) {
      setMessage("Could not start xdg-open to open " + target);
      return;
    }
  }
  if (!nodes.empty()) setMessage(revealFolder ? "Showing the enclosing folder" : "Opening " + nodes.front()->displayName());
}

void TerminalWindow::copyPaths() {
  auto nodes = relevantNodes();
  if (nodes.empty()) return;
  std::string paths;
  for (UINode* node : nodes) paths += (paths.empty() ? "" : "\n") + node->fileURL;
  // The terminal's clipboard escape works over ssh too.
  std::string sequence = "\x1b]52;c;" + base64(paths) + "\x07";
  ssize_t ignored = ::write(STDOUT_FILENO, sequence.data(), sequence.size());
  (void)ignored;
  setMessage(nodes.size() == 1 ? "Copied " + paths : "Copied " + std::to_string(nodes.size()) + " paths");
}

void TerminalWindow::runScript(std::size_t index) {
  auto scripts = ScriptRunner::availableScripts();
  if (index >= scripts.size()) return;
  std::vector<std::string> files;
  for (UINode* node : relevantNodes()) files.push_back(node->fileURL);
  const auto& [name, path] = scripts[index];
  setMessage("Running " + name + " on " + std::to_string(files.size()) + " item(s)");
  ScriptRunner::run(path, files, [name = name](const ScriptRunner::Outcome& outcome) {
    if (!outcome.error.empty()) Alert::show({"Script", outcome.error, {}});
    else
      Alert::show({"Script", "\"" + name + "\" finished.", {}});
  });
}

void TerminalWindow::setMessage(std::string message) {
  message_ = std::move(message);
  dirty_ = true;
}

}  // namespace velmora::app
