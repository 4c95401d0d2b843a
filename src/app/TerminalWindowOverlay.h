#pragma once
#include <cstddef>
#include <string>
#include <vector>

#include "app/QueryFieldEditor.h"
#include "common/Alert.h"

namespace velmora::app {

class QueryWindowLocations;

// What stands over the results list: an alert waiting for its answer, the
// help, the location menu, the folder prompt or the scripts menu. It keeps
// its own cursor and text, draws itself as a framed box, and turns keys into
// a choice that the window carries out.
class TerminalWindowOverlay {
 public:
  enum class Kind { none, help, locations, scripts, folderPrompt };
  struct Choice {
    enum class What { none, location, folder, script } what = What::none;
    std::size_t index = 0;  // of the location or the script
    std::string text;       // the folder typed
  };

  bool showing() const { return kind_ != Kind::none || !alerts_.empty(); }
  bool hasAlert() const { return !alerts_.empty(); }
  void show(Kind kind);
  void close();
  // Alerts queue up and come before any menu.
  void addAlert(Alert alert, Alert::Completion completion);
  // Answers every alert still open (at quit: -1, nobody answered).
  void answerAllAlerts(int button);

  // A key while showing. A message is dismissed by any key; a question only
  // by Return (the highlighted button) or Escape (the last one).
  Choice handleKey(int status, unsigned key, const QueryWindowLocations& locations, std::size_t scriptCount);
  // A paste: the folder prompt takes its first line; anything else closes
  // a menu (an alert is never answered by a paste). True when taken.
  bool paste(const std::string& text);
  // A folder typed was refused: the prompt stays, with the reason.
  void refuseFolder(std::string reason) { promptMessage_ = std::move(reason); }

  void draw(int height, int width, const QueryWindowLocations& locations, std::size_t relevantCount) const;

 private:
  struct PendingAlert {
    Alert alert;
    Alert::Completion completion;
    std::size_t button = 0;
  };
  Choice handleAlertKey(int status, unsigned key);
  Choice handleFolderPromptKey(int status, unsigned key);

  Kind kind_ = Kind::none;
  std::size_t cursor_ = 0;
  QueryFieldEditor prompt_;
  std::string promptMessage_;
  std::vector<PendingAlert> alerts_;
};

}  // namespace velmora::app
