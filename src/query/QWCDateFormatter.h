#pragma once
#include <memory>
#include <string>

#include "query/DateHelper.h"

namespace velmora {

// Writes dates for people: "Today", "Yesterday" and "Tomorrow" for those
// days (with " at " and the time when a time style is set), other dates in
// the locale's styles.
class QWCDateFormatter {
 public:
  enum class Style { none, shortStyle, mediumStyle, longStyle, fullStyle };

  QWCDateFormatter(Style dateStyle, Style timeStyle, const DateHelper& helper);
  ~QWCDateFormatter();
  QWCDateFormatter(const QWCDateFormatter&) = delete;
  QWCDateFormatter& operator=(const QWCDateFormatter&) = delete;

  std::string dateToString(Date date) const;
  // The locale's styles only, without the day names.
  std::string formatPlain(Date date) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
  Style timeStyle_;
  const DateHelper& helper_;
};

}  // namespace velmora
