// What a client of libLoamInLif.so may link against. The library is built with hidden visibility: a class
// carries this mark when clients use its members, its vtable or its type information; engines, cores and
// instantiations of foreign templates do not. exports.map, beside this file, holds the library to it.
//
// A template instantiated over a type is no more visible than that type, so the instance traits carry it too.
#pragma once

#define LOAM_INLIF_EXPORT __attribute__((visibility("default")))
