#include "server/model/mdl_workspace.h"

#include <algorithm>

namespace {

constexpr std::size_t kMax_Name = 100;

constexpr char kTable[] = R"SQL(
CREATE TABLE IF NOT EXISTS zt_saved_queries(
  id INTEGER PRIMARY KEY AUTOINCREMENT, dbset TEXT NOT NULL, database TEXT NOT NULL,
  owner TEXT NOT NULL, name TEXT NOT NULL, saved_by TEXT NOT NULL, definition TEXT NOT NULL,
  UNIQUE(dbset, database, owner, name));
)SQL";

constexpr char kColumns[] = "SELECT id, owner, name, saved_by FROM zt_saved_queries ";

Mdl_Saved_Query Saved_From(Sto_Statement& row)
{
    return {row.Number(0), row.Text(1).empty(), row.Text(2), row.Text(3)};
}

}  // namespace

std::string Mdl_Saved_Query::Path() const
{
    return std::string(Public ? Mdl_Workspace::kPublic : Mdl_Workspace::kPersonal) + "/" + Name;
}

Mdl_Workspace::Mdl_Workspace(Mdl_Session& session) : Session(session), Store(*session.Database().Store)
{
    Store.Execute_Script(kTable);
}

std::string Mdl_Workspace::Name_Problem(const std::string& name, const std::string& folder) const
{
    if (folder != kPublic && folder != kPersonal)
        return "no query folder \"" + folder + "\": the folders are \"" + kPublic + "\" and \"" + kPersonal + "\"";
    if (name.empty())
        return "a saved query needs a name";
    if (name.size() > kMax_Name)
        return "the name of a saved query is at most " + std::to_string(kMax_Name) + " bytes";
    if (std::any_of(name.begin(), name.end(), [](char c) { return c == '/' || static_cast<unsigned char>(c) < 0x20; }))
        return "the name \"" + name + "\" holds a \"/\" or a control character";
    return "";
}

std::pair<bool, std::string> Mdl_Workspace::Split(const std::string& path) const
{
    const std::size_t slash = path.find('/');
    const std::string folder = slash == std::string::npos ? kPersonal : path.substr(0, slash);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::string problem = Name_Problem(name, folder);
    if (!problem.empty())
        throw Mdl_Refusal(problem);
    return {folder == kPublic, name};
}

Mdl_Saved_Query Mdl_Workspace::Find(const std::string& path)
{
    const auto [is_public, name] = Split(path);
    Sto_Statement& query = Store.Prepare(std::string(kColumns) +
                                         "WHERE dbset = ? AND database = ? AND owner = ? AND name = ?");
    query.Bind(1, Session.Database().Set).Bind(2, Session.Database().Name)
        .Bind(3, is_public ? "" : Session.Current_User().Login).Bind(4, name);
    if (!query.Next())
        throw Mdl_Refusal("no saved query \"" + path + "\"");
    return Saved_From(query);
}

Mdl_Saved_Query Mdl_Workspace::Find(int64_t id)
{
    Sto_Statement& query = Store.Prepare(std::string(kColumns) +
                                         "WHERE id = ? AND dbset = ? AND database = ? AND owner IN ('', ?)");
    query.Bind(1, id).Bind(2, Session.Database().Set).Bind(3, Session.Database().Name)
        .Bind(4, Session.Current_User().Login);
    if (!query.Next())
        throw Mdl_Refusal("no saved query with id " + std::to_string(id));
    return Saved_From(query);
}

bool Mdl_Workspace::May_Change(const Mdl_Saved_Query& saved) const
{
    return !saved.Public || saved.Saved_By == Session.Current_User().Login || Session.Current_User().Super_User;
}

void Mdl_Workspace::Check_Change(const Mdl_Saved_Query& saved) const
{
    if (!May_Change(saved))
        throw Mdl_Refusal("the public query \"" + saved.Name + "\" was saved by " + saved.Saved_By +
                          "; only that user or a superuser changes it");
}

int64_t Mdl_Workspace::Save(const std::string& path, Mdl_Query& query, bool replace)
{
    const auto [is_public, name] = Split(path);
    const std::string owner = is_public ? "" : Session.Current_User().Login;
    Sto_Transaction transaction(Store);
    Sto_Statement& existing = Store.Prepare(std::string(kColumns) +
                                            "WHERE dbset = ? AND database = ? AND owner = ? AND name = ?");
    existing.Bind(1, Session.Database().Set).Bind(2, Session.Database().Name).Bind(3, owner).Bind(4, name);
    int64_t id = 0;
    if (existing.Next()) {
        const Mdl_Saved_Query saved = Saved_From(existing);
        if (!replace)
            throw Mdl_Refusal("a saved query \"" + path + "\" exists already");
        Check_Change(saved);
        id = saved.Id;
        Store.Prepare("UPDATE zt_saved_queries SET definition = ?, saved_by = ? WHERE id = ?")
            .Bind(1, Mdl_Query_Text(query)).Bind(2, Session.Current_User().Login).Bind(3, id).Run();
    } else {
        Sto_Statement& insert = Store.Prepare(
            "INSERT INTO zt_saved_queries(dbset, database, owner, name, saved_by, definition) "
            "VALUES(?, ?, ?, ?, ?, ?) RETURNING id");
        insert.Bind(1, Session.Database().Set).Bind(2, Session.Database().Name).Bind(3, owner).Bind(4, name)
            .Bind(5, Session.Current_User().Login).Bind(6, Mdl_Query_Text(query));
        if (!insert.Next())
            throw Sto_Error("the store gave no id for a saved query");
        id = insert.Number(0);
        insert.Run();
    }
    transaction.Commit();
    query.Name = Mdl_Saved_Query{id, is_public, name, ""}.Path();
    query.Dirty = false;
    return id;
}

Mdl_Query Mdl_Workspace::Read(const Mdl_Saved_Query& saved)
{
    Sto_Statement& row = Store.Prepare("SELECT definition FROM zt_saved_queries WHERE id = ?");
    row.Bind(1, saved.Id);
    if (!row.Next())
        throw Mdl_Refusal("no saved query \"" + saved.Path() + "\"");
    Mdl_Query query = Mdl_Parse_Query(row.Text(0));
    query.Name = saved.Path();
    query.Dirty = false;
    return query;
}

Mdl_Query Mdl_Workspace::Open(const std::string& path) { return Read(Find(path)); }
Mdl_Query Mdl_Workspace::Open(int64_t id) { return Read(Find(id)); }

std::vector<Mdl_Saved_Query> Mdl_Workspace::List(ZTInt_Query_List kind)
{
    if (kind != ZTInt_QUERIES_ALL && kind != ZTInt_QUERIES_PUBLIC && kind != ZTInt_QUERIES_PERSONAL)
        throw Mdl_Refusal("no list of queries " + std::to_string(kind) + " (1 all, 2 public, 3 personal)");
    Sto_Statement& query = Store.Prepare(std::string(kColumns) +
                                         "WHERE dbset = ? AND database = ? AND owner IN (?, ?) "
                                         "ORDER BY owner <> '', name");
    const std::string login = Session.Current_User().Login;
    query.Bind(1, Session.Database().Set).Bind(2, Session.Database().Name)
        .Bind(3, kind == ZTInt_QUERIES_PERSONAL ? login : "").Bind(4, kind == ZTInt_QUERIES_PUBLIC ? "" : login);
    std::vector<Mdl_Saved_Query> found;
    while (query.Next())
        found.push_back(Saved_From(query));
    return found;
}

void Mdl_Workspace::Rename(const Mdl_Saved_Query& saved, const std::string& new_name)
{
    const std::string problem = Name_Problem(new_name, saved.Public ? kPublic : kPersonal);
    if (!problem.empty())
        throw Mdl_Refusal(problem);
    Check_Change(saved);
    Sto_Transaction transaction(Store);
    Sto_Statement& taken = Store.Prepare(
        "SELECT 1 FROM zt_saved_queries WHERE dbset = ? AND database = ? AND owner = ? AND name = ?");
    taken.Bind(1, Session.Database().Set).Bind(2, Session.Database().Name)
        .Bind(3, saved.Public ? "" : Session.Current_User().Login).Bind(4, new_name);
    if (taken.Next())
        throw Mdl_Refusal("a saved query named \"" + new_name + "\" exists already in its folder");
    Store.Prepare("UPDATE zt_saved_queries SET name = ? WHERE id = ?").Bind(1, new_name).Bind(2, saved.Id).Run();
    transaction.Commit();
}

void Mdl_Workspace::Remove(const Mdl_Saved_Query& saved)
{
    Check_Change(saved);
    Sto_Transaction transaction(Store);
    Store.Prepare("DELETE FROM zt_saved_queries WHERE id = ?").Bind(1, saved.Id).Run();
    transaction.Commit();
}
