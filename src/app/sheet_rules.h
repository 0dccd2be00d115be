#pragma once

#include <QString>
#include <QStringList>
#include <set>
#include <string>
#include <vector>

#include "document/records.h"

namespace vells::app {

// White space off both ends, as every field of the sheets is read.
QString trimmed(const QString& text);

// A page id from a label: lower-case a to z, 0 to 9 and single "-", "page"
// when nothing is left, and "-2", "-3" … behind it until it is free.
std::string newPageID(const QString& label, const std::vector<std::string>& existing);

// The number behind the last "-" of a set's id (its creation time), or 0.
long long setStamp(const std::string& setId);

// The sets with the newest first by stamp; equal stamps keep their order.
std::vector<VellSet> newestFirst(std::vector<VellSet> sets);

// The name a new set gets when none is typed: "<app> v<n+1>".
QString defaultSetName(const QString& appName, std::size_t existingSets);

// The store's categories in menu order; the first, "None", stands for none.
const QStringList& appCategories();

// What the library keeps about an app: its platforms as "ios" and "android",
// and the texts that aren't empty after trimming.
JSONValue::Object appProfile(const std::set<DeviceOS>& platforms, const QString& about,
                             const QString& audience, const QString& category);

// "iOS" or "Android".
QString platformName(DeviceOS os);

}  // namespace vells::app
