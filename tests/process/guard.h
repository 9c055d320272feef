// A region that crashes are reported from.
#pragma once

/// Calls `body` inside a structured-exception guard whose filter is `kq::error::detail::ExcDump`.
void RunGuarded(void (*body)());
