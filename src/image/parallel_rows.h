#pragma once

#include <type_traits>

#include "image/err.h"
#include "image/parallel.h"

namespace velorin {

template <typename Body>
void RunRowJob(int slot, int /*zero*/, int firstRow, int lastRow, va_list* arguments) {
    Body& body = *va_arg(*arguments, Body*);
    if constexpr (std::is_invocable_v<Body&, int, int, int>) {
        body(slot, firstRow, lastRow);
    } else {
        body(firstRow, lastRow);
    }
}

// Calls body(firstRow, lastRow), both inclusive, on disjoint ranges that cover 0 to rows - 1; rows
// may count columns. A body of three parameters is told its worker first, from 0 to below
// ChooseWorkers(rows). What a body throws is thrown here once all have returned. Not reentrant.
//
// A body allocates nothing, writes only its own rows, and gives the same pixels wherever the ranges
// begin. The few operations that break one of these rules say so in their header.
template <typename Body>
void ParallelRows(int rows, Body&& body) {
    using Plain = std::remove_reference_t<Body>;
    try {
        ParallelFor(ChooseWorkers(rows), rows, &RunRowJob<Plain>, &body);
    } catch (ZPErr failure) {
        if (failure != ZPErrNone) throw;  // 0 is a worker's word for success
    }
}

}  // namespace velorin
