#pragma once
#include <memory>
#include <vector>

#include "query/Command.h"
#include "query/SentenceComponent.h"

namespace velmora {

// What the parser made of the command area: the commands in the order of
// their first words, and every word it recognised (no word twice).
struct CommandRecogniserResult {
  std::vector<std::shared_ptr<Command>> commands;
  std::vector<SentenceComponent> recognisedParts;
  // Words of phrases that matched a sentence in full but could not make
  // their command ("bigger than 99999999999999999999 yb"): errors, unlike a
  // phrase still being typed.
  std::vector<SentenceComponent> failedParts;
};

}  // namespace velmora
