#pragma once

#include <string>
#include <vector>

#include "host/check/Check.h"

namespace zrtest {

// Feeds rows, one a line, their fields parted by bars, in the order of the tables' columns: "policy|1|1|name|0",
// "rule|1|1|1|247|name|0|DUNNO", "link|1|1|john|1|10", "member|sales|john". NULL is a NULL.
void feed(zrhost::CheckSink& sink, const std::string& rows);

// All findings of such rows, of every severity, as "CODE KEY,KEY" and, with a sure remedy, " -> VALUE,VALUE".
std::vector<std::string> findingsOf(const std::string& rows, zrhost::CheckOptions options = {});

// A policy of that ID that counts, as two such rows.
std::string goodPolicy(int id, bool isDefault = false);

std::string textOf(const zrhost::Finding& finding);

}  // namespace zrtest
