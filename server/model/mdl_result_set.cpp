#include "server/model/mdl_result_set.h"

#include <algorithm>
#include <cstdlib>

namespace {

// At most limit characters of UTF-8 text.
std::string Cut(const std::string& text, int64_t limit)
{
    int64_t characters = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80 && characters++ == limit)
            return text.substr(0, i);
    return text;
}

// ZT_SERVER_QUERY_SECONDS, a whole number from 1 to 86400, else 60; read once.
int Read_Query_Seconds()
{
    const char* text = std::getenv("ZT_SERVER_QUERY_SECONDS");
    char* end = nullptr;
    const long seconds = text != nullptr ? std::strtol(text, &end, 10) : 0;
    return text != nullptr && *text != '\0' && *end == '\0' && seconds >= 1 && seconds <= 86400
               ? static_cast<int>(seconds)
               : 60;
}

int Query_Seconds()
{
    static const int seconds = Read_Query_Seconds();
    return seconds;
}

bool Is_Multiline(ZTInt_Field_Type type)
{
    return type == ZTInt_FIELD_MULTILINE_STRING || type == ZTInt_FIELD_JOURNAL;
}

}  // namespace

Mdl_Result_Set::Mdl_Result_Set(std::shared_ptr<Mdl_Session> session, const Mdl_Query& query)
    : Owner(std::move(session)), Source(query.Copy())
{
    if (Source.Is_Sql) {
        std::unique_ptr<Sto_Cursor> checked;
        try {
            checked = Reader().Open_Restricted(Source.Sql);
        } catch (const Sto_Refused& refused) {
            throw Mdl_Refusal("the SQL is refused: " + std::string(refused.what()) +
                              "; a SQL query reads only the views of the record types and users");
        }
        for (int i = 0; i < checked->Column_Count(); ++i)
            Columns.push_back({checked->Column_Name(i), ZTInt_FIELD_SHORT_STRING});
        checked.reset();
        Store_Reader.reset();  // opened again by Execute
        return;
    }
    const Mdl_Query_Paths paths(Owner->Schema());
    if (Owner->Schema().Type(Source.Type) == nullptr)
        throw Mdl_Refusal("no record type \"" + Source.Type + "\" to query");
    for (const Mdl_Query_Field& field : Source.Fields)
        if (field.Shown)
            Columns.push_back({field.Heading(), paths.Resolve(Source.Type, field.Path).Type});
    if (Source.Fields.empty())
        Columns.push_back({"id", ZTInt_FIELD_ID});
    for (Mdl_Field_Filter* filter : Mdl_Prompted_Filters(Source)) {
        Param param{*filter, paths.Resolve(Source.Type, filter->Path)};
        param.Filter.Prompted = false;
        Parameters.push_back(std::move(param));
    }
}

Sto_Reader& Mdl_Result_Set::Reader()
{
    if (Store_Reader == nullptr) {
        Store_Reader = Owner->Database().Store->Open_Reader(Mdl_Query_Views(Owner->Database()));
        Limit_Time();
    }
    return *Store_Reader;
}

// The time of one call starts.
void Mdl_Result_Set::Limit_Time()
{
    if (Store_Reader != nullptr)
        Store_Reader->Set_Time_Limit(Query_Seconds());
}

void Mdl_Result_Set::Open_Cursor()
{
    Cursor.reset();
    if (Source.Is_Sql) {
        Cursor = Reader().Open_Restricted(Source.Sql);
        return;
    }
    std::vector<const Mdl_Field_Filter*> given;
    for (const Param& param : Parameters)
        given.push_back(&param.Filter);
    const Mdl_Compiled_Query compiled = Mdl_Compile_Query(Owner->Schema(), Source, given);
    Cursor = Reader().Open(compiled.Sql);
    int index = 1;
    for (const Mdl_Bound_Value& value : compiled.Values)
        if (value.Is_Number)
            Cursor->Bind(index++, value.Number);
        else
            Cursor->Bind(index++, value.Text);
}

// At the end of the rows the reader goes too: a client's result sets that are done hold
// no store connection (nor its descriptors and page cache) until they are executed again.
void Mdl_Result_Set::Close_Cursor()
{
    Cursor.reset();
    Store_Reader.reset();
    On_Row = false;
    Current.clear();
}

void Mdl_Result_Set::Start()
{
    Open_Cursor();
    Executed = true;
    On_Row = Was_Limited = false;
    Position = 0;
    Current.clear();
}

// Walks the result once with the cursor, then opens it again: the rows are not kept.
int64_t Mdl_Result_Set::Count_Rows()
{
    int64_t rows = 0;
    try {
        while ((Max_Rows == 0 || rows < Max_Rows) && Cursor->Next())
            ++rows;
    } catch (...) {
        Close_Cursor();
        Executed = false;
        throw;
    }
    Open_Cursor();
    return rows;
}

void Mdl_Result_Set::Execute()
{
    Limit_Time();
    Start();
    if (Count_On_Execute)
        Count = Count_Rows();
}

int64_t Mdl_Result_Set::Execute_And_Count()
{
    Limit_Time();
    Start();
    Count = Count_Rows();
    return Count;
}

int64_t Mdl_Result_Set::Record_Count() const
{
    if (Count < 0)
        throw Mdl_Refusal("the rows were not counted: run ExecuteAndCountRecords, or EnableRecordCount before Execute");
    return Count;
}

ZTInt_Fetch_Status Mdl_Result_Set::Move_Next()
{
    if (!Executed)
        throw Mdl_Refusal("the result set is not executed yet");
    Limit_Time();
    return Step();
}

ZTInt_Fetch_Status Mdl_Result_Set::Step()
{
    if (Cursor == nullptr)
        return ZTInt_FETCH_NO_MORE_ROWS;
    bool more = false;
    try {
        more = Cursor->Next();
    } catch (...) {
        Close_Cursor();  // a failed cursor ends its rows; it does not start again
        throw;
    }
    if (Max_Rows > 0 && Position >= Max_Rows) {
        Was_Limited = more;
        Close_Cursor();
        return ZTInt_FETCH_NO_MORE_ROWS;
    }
    if (!more) {
        Close_Cursor();
        return ZTInt_FETCH_NO_MORE_ROWS;
    }
    Current.resize(Columns.size());
    for (std::size_t i = 0; i < Columns.size(); ++i) {
        Current[i] = Cursor->Text(static_cast<int>(i));
        if (Max_Multiline > 0 && Is_Multiline(Columns[i].Type))
            Current[i] = Cut(Current[i], Max_Multiline);
    }
    ++Position;
    On_Row = true;
    return ZTInt_FETCH_ROW;
}

ZTInt_Fetch_Status Mdl_Result_Set::Move_Absolute(int64_t row)
{
    if (row < 1)
        throw Mdl_Refusal("row " + std::to_string(row) + ": rows count from 1");
    if (!Executed)
        throw Mdl_Refusal("the result set is not executed yet");
    Limit_Time();
    if (row <= Position || Cursor == nullptr)
        Start();
    ZTInt_Fetch_Status status = ZTInt_FETCH_ROW;
    while (Position < row && (status = Step()) == ZTInt_FETCH_ROW) {
    }
    return status;
}

const Mdl_Column& Mdl_Result_Set::Column(int number) const
{
    if (number < 1 || number > Column_Count())
        throw Mdl_Refusal("no column " + std::to_string(number) + ": the result has " +
                          std::to_string(Column_Count()) + " columns, counted from 1");
    return Columns[static_cast<std::size_t>(number - 1)];
}

const std::vector<std::string>& Mdl_Result_Set::Row() const
{
    if (!On_Row)
        throw Mdl_Refusal("the result set stands on no row: call MoveNext first");
    return Current;
}

const std::string& Mdl_Result_Set::Value(int number) const
{
    Column(number);
    return Row()[static_cast<std::size_t>(number - 1)];
}

std::string Mdl_Result_Set::Sql() const
{
    if (Source.Is_Sql)
        return Source.Sql;
    std::vector<const Mdl_Field_Filter*> given;
    for (const Param& param : Parameters)
        given.push_back(&param.Filter);
    return Mdl_Compile_Query(Owner->Schema(), Source, given).Sql;
}

Mdl_Result_Set::Param& Mdl_Result_Set::Parameter(int number)
{
    if (number < 1 || static_cast<std::size_t>(number) > Parameters.size())
        throw Mdl_Refusal("no parameter " + std::to_string(number) + ": the query has " +
                          std::to_string(Parameters.size()) + ", counted from 1");
    return Parameters[static_cast<std::size_t>(number - 1)];
}
