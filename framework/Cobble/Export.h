// How a symbol of the framework library is made visible. A class needs the mark when it has a vtable or
// static data: a user built with hidden visibility would otherwise get a second copy, say of
// ThreadControl::tsp_.
#pragma once

#define LOAM_FRAMEWORK_EXPORT __attribute__((visibility("default")))
