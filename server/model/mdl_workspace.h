// Saved queries: the two query folders of a user database, "Public Queries" (seen by
// every user of the database) and "Personal Queries" (each user's own), kept in the
// store beside the records. A saved query is named by its path, "<folder>/<name>"; a
// name alone means the personal folder. Anyone may save a new public query; only the
// user who saved it, or a superuser, may replace, rename or delete it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "server/model/mdl_query.h"

struct Mdl_Saved_Query {
    int64_t Id = 0;
    bool Public = false;
    std::string Name, Saved_By;

    std::string Path() const;
};

class Mdl_Workspace {
public:
    static constexpr char kPublic[] = "Public Queries";
    static constexpr char kPersonal[] = "Personal Queries";
    // Folders have ids of their own, below those of queries.
    static constexpr int64_t kPublic_Id = -1, kPersonal_Id = -2;

    explicit Mdl_Workspace(Mdl_Session& session);

    // "" when name can be saved into folder, else why not.
    [[nodiscard]] std::string Name_Problem(const std::string& name, const std::string& folder) const;
    // Saves query under path; an existing one is replaced only when replace is true.
    // Returns the saved query's id.
    int64_t Save(const std::string& path, Mdl_Query& query, bool replace);
    Mdl_Query Open(const std::string& path);
    Mdl_Query Open(int64_t id);
    std::vector<Mdl_Saved_Query> List(ZTInt_Query_List kind);
    Mdl_Saved_Query Find(const std::string& path);
    Mdl_Saved_Query Find(int64_t id);
    void Rename(const Mdl_Saved_Query& saved, const std::string& new_name);
    void Remove(const Mdl_Saved_Query& saved);
    [[nodiscard]] bool May_Change(const Mdl_Saved_Query& saved) const;

private:
    // The folder (true: public) and the name of a path; refused when it names no folder.
    std::pair<bool, std::string> Split(const std::string& path) const;
    void Check_Change(const Mdl_Saved_Query& saved) const;
    Mdl_Query Read(const Mdl_Saved_Query& saved);

    Mdl_Session& Session;
    Sto_Connection& Store;
};
