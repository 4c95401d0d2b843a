#include "app/TerminalWindowOverlay.h"

#include <curses.h>

#include <algorithm>

#include "app/QueryWindowLocations.h"
#include "app/TerminalText.h"
#include "app/TerminalWindowHelp.h"
#include "common/AppDirectories.h"
#include "shell/ScriptRunner.h"

namespace velmora::app {

namespace {
constexpr unsigned kEscape = 27;
constexpr unsigned ctrl(char c) { return static_cast<unsigned>(c) & 0x1f; }

bool isReturn(int status, unsigned key) {
  return (status == KEY_CODE_YES && key == KEY_ENTER) || (status != KEY_CODE_YES && (key == '\r' || key == '\n'));
}
bool isBackspace(int status, unsigned key) {
  return (status == KEY_CODE_YES && key == KEY_BACKSPACE) || (status != KEY_CODE_YES && (key == 127 || key == 8));
}
}  // namespace

void TerminalWindowOverlay::show(Kind kind) {
  kind_ = kind;
  cursor_ = 0;
  prompt_.clear();
  promptMessage_.clear();
}

void TerminalWindowOverlay::close() { show(Kind::none); }

void TerminalWindowOverlay::addAlert(Alert alert, Alert::Completion completion) {
  alerts_.push_back({std::move(alert), std::move(completion)});
}

void TerminalWindowOverlay::answerAllAlerts(int button) {
  auto open = std::move(alerts_);
  alerts_.clear();
  for (auto& pending : open)
    if (pending.completion) pending.completion(button);
}

bool TerminalWindowOverlay::paste(const std::string& text) {
  if (!alerts_.empty()) return true;  // a paste answers no question
  if (kind_ == Kind::folderPrompt) {
    prompt_.insert(text.substr(0, text.find_first_of("\r\n")));
    return true;
  }
  close();
  return false;
}

TerminalWindowOverlay::Choice TerminalWindowOverlay::handleAlertKey(int status, unsigned key) {
  PendingAlert& pending = alerts_.front();
  const bool function = status == KEY_CODE_YES;
  const std::size_t buttons = pending.alert.buttons.size();
  int answer = -2;
  if (buttons <= 1) {
    answer = 0;  // any key dismisses a message
  } else if (function && (key == KEY_LEFT || key == KEY_BTAB)) {
    pending.button = (pending.button + buttons - 1) % buttons;
  } else if ((function && key == KEY_RIGHT) || (!function && key == '\t')) {
    pending.button = (pending.button + 1) % buttons;
  } else if (isReturn(status, key)) {
    answer = static_cast<int>(pending.button);
  } else if (!function && key == kEscape) {
    answer = static_cast<int>(buttons - 1);  // the last button is the way out
  }
  if (answer == -2) return {};  // other keys answer nothing: a stray "o" opens nothing
  auto answered = std::move(alerts_.front());
  alerts_.erase(alerts_.begin());
  if (answered.completion) answered.completion(answer);
  return {};
}

TerminalWindowOverlay::Choice TerminalWindowOverlay::handleFolderPromptKey(int status, unsigned key) {
  const bool function = status == KEY_CODE_YES;
  if (!function && key == kEscape) {
    close();
  } else if (isReturn(status, key)) {
    return {Choice::What::folder, 0, prompt_.text()};
  } else if (isBackspace(status, key)) {
    prompt_.backspace();
  } else if (!function && key == ctrl('u')) {
    prompt_.clear();
  } else if (function && key == KEY_LEFT) {
    prompt_.left();
  } else if (function && key == KEY_RIGHT) {
    prompt_.right();
  } else if (!function && key >= 0x20) {
    prompt_.insert(TerminalText::encode(static_cast<char32_t>(key)));
  }
  return {};
}

TerminalWindowOverlay::Choice TerminalWindowOverlay::handleKey(int status, unsigned key,
                                                               const QueryWindowLocations& locations,
                                                               std::size_t scriptCount) {
  if (!alerts_.empty()) return handleAlertKey(status, key);
  if (kind_ == Kind::help) {
    close();
    return {};
  }
  if (kind_ == Kind::folderPrompt) return handleFolderPromptKey(status, key);
  const bool function = status == KEY_CODE_YES;
  const std::size_t count = kind_ == Kind::locations ? locations.items().size() + 1 : scriptCount;
  if (function && key == KEY_UP && cursor_ > 0) {
    --cursor_;
  } else if (function && key == KEY_DOWN && cursor_ + 1 < count) {
    ++cursor_;
  } else if (function && key == KEY_HOME) {
    cursor_ = 0;
  } else if (function && key == KEY_END && count > 0) {
    cursor_ = count - 1;
  } else if (!function && key == kEscape) {
    close();
  } else if (isReturn(status, key)) {
    if (kind_ == Kind::locations) {
      if (cursor_ < locations.items().size()) {
        std::size_t chosen = cursor_;
        close();
        return {Choice::What::location, chosen, {}};
      }
      show(Kind::folderPrompt);  // the last entry: "a folder…"
    } else if (kind_ == Kind::scripts) {
      std::size_t chosen = cursor_;
      close();
      if (count > 0) return {Choice::What::script, chosen, {}};
    }
  }
  return {};
}

void TerminalWindowOverlay::draw(int height, int width, const QueryWindowLocations& locations,
                                 std::size_t relevantCount) const {
  std::vector<std::string> lines;
  std::string title;
  std::size_t highlighted = static_cast<std::size_t>(-1);
  if (!alerts_.empty()) {
    const PendingAlert& pending = alerts_.front();
    title = pending.alert.title;
    lines.push_back(pending.alert.text);
    lines.push_back("");
    if (pending.alert.buttons.size() > 1) {
      std::string row = " ";
      for (std::size_t i = 0; i < pending.alert.buttons.size(); ++i)
        row += (i == pending.button ? "[ " : "  ") + pending.alert.buttons[i] + (i == pending.button ? " ]" : "  ") + " ";
      lines.push_back(row);
      lines.push_back("Return chooses, Esc cancels.");
    } else {
      lines.push_back("Press any key.");
    }
  } else if (kind_ == Kind::help) {
    title = "Help";
    lines = TerminalWindowHelp::lines();
  } else if (kind_ == Kind::locations) {
    title = "Search location";
    for (const auto& item : locations.items())
      lines.push_back((item.name == locations.chosenName() ? "\u2022 " : "  ") + item.name);
    lines.push_back("  a folder\u2026");
    highlighted = cursor_;
  } else if (kind_ == Kind::scripts) {
    title = "Run a script on " + std::to_string(relevantCount) + " item(s)";
    auto scripts = ScriptRunner::availableScripts();
    if (scripts.empty()) lines.push_back("No scripts in " + AppDirectories::applicationScriptsDirectory().string());
    for (const auto& [name, path] : scripts) lines.push_back("  " + name);
    highlighted = cursor_;
  } else if (kind_ == Kind::folderPrompt) {
    title = "Search in folder (Return to choose, Esc to cancel)";
    lines.push_back(prompt_.text());
    if (!promptMessage_.empty()) lines.push_back(promptMessage_);
  } else {
    return;
  }
  const int boxWidth = std::min(width - 2, 76);
  const int boxHeight = std::min(height - 2, static_cast<int>(lines.size()) + 2);
  if (boxWidth < 4 || boxHeight < 3) return;
  const int top = std::max(0, (height - boxHeight) / 2), left = std::max(0, (width - boxWidth) / 2);
  std::size_t first = 0;
  const auto inside = static_cast<std::size_t>(boxHeight - 2);
  if (highlighted != static_cast<std::size_t>(-1) && highlighted >= inside) first = highlighted - inside + 1;
  for (int r = 0; r < boxHeight; ++r) {
    if (r == 0 || r == boxHeight - 1) {
      std::string text = TerminalText::fit(r == 0 ? "\u250C " + title + " " : "\u2514", boxWidth - 1);
      // The padding's blanks become the frame's line.
      std::size_t end = text.find_last_not_of(' ');
      std::string frame = text.substr(0, end == std::string::npos ? 0 : end + 1);
      for (int i = TerminalText::cellWidth(frame); i < boxWidth - 1; ++i) frame += "\u2500";
      frame += r == 0 ? "\u2510" : "\u2518";
      mvaddstr(top + r, left, frame.c_str());
      continue;
    }
    std::size_t index = first + static_cast<std::size_t>(r) - 1;
    std::string content = index < lines.size() ? lines[index] : "";
    mvaddstr(top + r, left, "\u2502");
    if (index == highlighted) attron(A_REVERSE);
    addstr(TerminalText::fit(content, boxWidth - 2).c_str());
    attroff(A_REVERSE);
    addstr("\u2502");
  }
}

}  // namespace velmora::app
