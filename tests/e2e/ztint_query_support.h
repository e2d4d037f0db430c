// Helpers for the tests of queries and result sets: a store with known defects, and
// short forms that build a query, run it and read its rows.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/e2e/ztint_tracker.h"

using Ztint_Rows = std::vector<std::vector<std::string>>;

// A filter added to a node; the call's status.
int32_t Ztint_Filter(ZTQueryFilterNode* node, const std::string& path, ZTInt_LONG op,
                     const std::vector<std::string>& values);

class Ztint_Query_Test : public Ztint_Tracker_Test {
protected:
    void SetUp() override;

    // Two projects and four defects, by letter: A "Crash on start", B "50% slower",
    // C "Don't quote; DROP TABLE zt_records", D "under_score" (see the .cpp).
    std::map<std::string, std::string> Ids;  // letter -> display id

    // A query of type showing the paths given.
    ZTQueryDef* Build(const std::vector<std::string>& paths, const char* type = "Defect");
    // Every row of a result set, executed first; ADD_FAILURE on a failed call.
    static Ztint_Rows Rows(ZTResultSet* set, bool execute = true);
    // The rows of a query.
    Ztint_Rows Run(ZTQueryDef* query);
    // The letters of the defects whose Headline a query shows in its first column.
    std::string Letters(ZTQueryDef* query);
    std::string Letters(const Ztint_Rows& rows) const;
    // The record's dbid.
    ZTInt_LONG Dbid(const std::string& letter);
};
