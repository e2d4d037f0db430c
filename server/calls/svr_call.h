// Svr_Call: one tracking call as its handler sees it: the in-values after the handle,
// the objects they name, and the result to set. A handler throws Mdl_Refusal (or lets
// a model or store failure pass) to fail its call; the dispatcher turns the text into
// status -1 and the client's error text.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "server/model/mdl_session.h"
#include "server/svr_dispatch.h"

class Svr_Call {
public:
    Svr_Call(Svr_Request& request, Svr_Objects& objects, Mdl_Server& model)
        : Request(request), Objects(objects), Server(model)
    {
    }

    // The tracking model, for the calls that log on.
    Mdl_Server& Model() const { return Server; }

    // The payload of the object named by in-value index (0 is the call's own handle);
    // refused when the handle names no object of this client or one of another kind.
    template <class Payload>
    std::shared_ptr<Payload> Shared_Object(int index) const
    {
        auto payload = std::dynamic_pointer_cast<Payload>(Any_Object(index).Payload);
        if (payload == nullptr)
            throw Mdl_Refusal("the object was not made for this call");
        return payload;
    }
    // The object named by in-value index, whatever it stands for.
    const Svr_Objects::Object& Any_Object(int index) const
    {
        const Svr_Objects::Object* object = Objects.Find(Request.In.Object(index), Request.Client.Number);
        if (object == nullptr)
            throw Mdl_Refusal(index == 0 ? "the handle names no object of this client"
                                         : "parameter " + std::to_string(index) +
                                               " names no object of this client");
        return *object;
    }
    template <class Payload>
    Payload& Object(int index) const
    {
        return *Shared_Object<Payload>(index);
    }

    std::string Text(int index) const { return Request.In.Text(index); }
    int32_t Number(int index) const { return Request.In.Number(index); }
    std::vector<std::string> Texts(int index) const { return Request.In.Texts(index); }

    // The result (out-value 1); each returns status 0.
    int32_t Result(const std::string& text)
    {
        Request.Out.Set_Text(1, text.c_str());
        return 0;
    }
    int32_t Result(int64_t number)  // refused when it does not fit the wire's 32 bits
    {
        if (number < INT32_MIN || number > INT32_MAX)
            throw Mdl_Refusal("the value " + std::to_string(number) + " does not fit a LONG");
        Request.Out.Set_Number(1, static_cast<int32_t>(number));
        return 0;
    }
    int32_t Result_Bool(bool value)
    {
        Request.Out.Set_Number(1, value ? 1 : 0);
        return 0;
    }
    int32_t Result(const std::vector<std::string>& texts)
    {
        Request.Out.Set_Texts(1, texts);
        return 0;
    }
    // A new object of the row's result class standing for payload.
    int32_t Result(std::shared_ptr<Svr_Payload> payload)
    {
        Request.Out.Set_Object(1, Objects.Make(Request.Entry.Types_Out[1], Request.Client.Number, "",
                                               std::move(payload)));
        return 0;
    }

private:
    Svr_Request& Request;
    Svr_Objects& Objects;
    Mdl_Server& Server;
};
