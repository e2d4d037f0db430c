// What the objects of the query calls stand for. A query and its filter nodes are live:
// a change through one handle shows through every other handle of the same query. A
// result set keeps its own copy of the query it was built from.
#pragma once

#include <functional>
#include <memory>

#include "server/model/mdl_result_set.h"
#include "server/svr_objects.h"

struct Pl_Query : Svr_Payload {
    Pl_Query(std::shared_ptr<Mdl_Session> session, std::shared_ptr<Mdl_Query> query)
        : Session(std::move(session)), Query(std::move(query))
    {
    }
    std::shared_ptr<Mdl_Session> Session;
    std::shared_ptr<Mdl_Query> Query;
};

// A filter node (ZTQueryFilterNode, ZTFilterNode), or the list of its filters.
struct Pl_Filter_Node : Pl_Query {
    Pl_Filter_Node(const Pl_Query& query, std::shared_ptr<Mdl_Filter_Node> node)
        : Pl_Query(query), Node(std::move(node))
    {
    }
    std::shared_ptr<Mdl_Filter_Node> Node;
};
struct Pl_Field_Filters : Pl_Filter_Node {
    using Pl_Filter_Node::Pl_Filter_Node;
};

// The fields of a query (ZTQueryFieldDefs), and one of them by position from 0.
struct Pl_Query_Fields : Pl_Query {
    explicit Pl_Query_Fields(const Pl_Query& query) : Pl_Query(query) {}
};
struct Pl_Query_Field : Pl_Query {
    Pl_Query_Field(const Pl_Query& query, std::size_t index) : Pl_Query(query), Index(index) {}
    std::size_t Index;
};

// One filter: of a node, or a result set's parameter. Find gives it, or throws when it
// is gone; Type is the record type its path starts from.
struct Pl_Field_Filter : Svr_Payload {
    std::shared_ptr<Mdl_Session> Session;
    std::string Type;
    std::function<Mdl_Field_Filter&()> Find;
};

struct Pl_Result_Set : Svr_Payload {
    explicit Pl_Result_Set(std::shared_ptr<Mdl_Result_Set> set) : Set(std::move(set)) {}
    std::shared_ptr<Mdl_Result_Set> Set;
};
