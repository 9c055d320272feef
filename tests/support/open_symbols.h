// Debug-help's symbol state, ready before it is needed.
#pragma once

#include <kq/debug/symbol_handler.h>

#include <boost/shared_ptr.hpp>

/// Opens the symbol state of the process until the result is released. Under Wine a minidump takes
/// a tenth of the time then: without one its writer reads all symbols of all modules first.
inline boost::shared_ptr<kq::debug::SymbolHandler> OpenSymbols() {
    boost::shared_ptr<kq::debug::SymbolHandler> symbols = kq::debug::SymbolHandler::Create();
    symbols->RefreshModuleList();
    return symbols;
}
