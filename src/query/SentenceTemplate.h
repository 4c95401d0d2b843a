#pragma once
#include <any>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "query/SentenceComponent.h"

namespace velmora {

// One line of the template file: keywords and variables ("~month"), then a
// descriptor naming the command, with optional flags after a "/":
//   modified in ~month/~month month
//   image is ~string ImageVisionAllItems/ImageVisionAllItems=true
struct SentenceTemplate {
  std::string debugTemplate;
  // Unique per template made in this process.
  std::string id;
  std::vector<SentenceComponent> components;
  std::vector<std::string> words;
  std::string command;
  int numberOfKeywords = 0;
  std::map<std::string, std::string> flags;
  // variableKey() of each word, worked out once for the matcher.
  std::vector<std::string> keys;

  // A line without any word is a programming fault of the template file and
  // ends the process; use isTemplateLine() for text of unknown origin.
  explicit SentenceTemplate(std::string_view line);
  static bool isTemplateLine(std::string_view line);

  // "~month/~month" names the variable "~month" and its completor "~month".
  // A word that is not of the form key/completor is its own key.
  static std::string variableKey(std::string_view word);
  static std::string completorKey(std::string_view word);
  static bool isVariable(std::string_view word) { return !word.empty() && word.front() == '~'; }
};

// A template that matched, with the values of its variables in order.
struct MatchedSentenceTemplate {
  SentenceTemplate sentenceTemplate;
  std::vector<std::any> args;
};

}  // namespace velmora
