// How a symbol of the framework library is made visible. A class needs the mark when it has a vtable or
// static data: a user built with hidden visibility would otherwise get a second copy, say of
// ThreadControl::tsp_.
//
// A class that others look for with dynamic_cast has its destructor, or another virtual function, out of line
// as well: its vtable then stands in this library alone. A compiler may take the address of the vtable for the
// type, and a user that keeps its weak symbols to itself would never find an object that was made elsewhere.
#pragma once

#define LOAM_FRAMEWORK_EXPORT __attribute__((visibility("default")))
