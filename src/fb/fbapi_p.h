#pragma once

// The only header of the tree that includes the Firebird client headers; it is
// private to src/fb.

#include <firebird/Interface.h>

#include "error.h"

namespace fb {

struct DatabaseHandle
{
    Firebird::IAttachment *att = nullptr;
};

struct TransactionHandle
{
    Firebird::ITransaction *tra = nullptr;
};

} // namespace fb

namespace fb::detail {

Firebird::IMaster *master();
Firebird::IUtil *util();
Firebird::IProvider *provider();

// Turns the engine's status vector into our Error.
Error makeError(const Firebird::IStatus *status);

// Runs f with a throwing status wrapper and converts the engine's exception.
template<class F>
auto call(F &&f)
{
    Firebird::ThrowStatusWrapper status(master()->getStatus());
    struct Dispose
    {
        Firebird::ThrowStatusWrapper &s;
        ~Dispose() { s.dispose(); }
    } dispose{status};
    try {
        return f(&status);
    } catch (const Firebird::FbException &e) {
        throw makeError(e.getStatus());
    }
}

} // namespace fb::detail
