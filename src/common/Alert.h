#pragma once
#include <functional>
#include <string>
#include <vector>

namespace velmora {

// A message for the person at the front-end. The engine never draws one: it
// hands it to the presenter the front-end installed (a terminal dialog, a line
// on standard error, a log line), always on the main queue.
struct Alert {
  std::string title;
  std::string text;
  std::vector<std::string> buttons;  // empty means a single "OK"

  // Button index chosen (0 = first), or -1 when nobody could answer.
  using Completion = std::function<void(int button)>;
  using Presenter = std::function<void(const Alert&, Completion)>;

  static void setPresenter(Presenter presenter);
  // Shows the alert on the main queue; without a presenter it is logged and
  // the completion gets -1.
  static void show(Alert alert, Completion completion = {});
};

}  // namespace velmora
