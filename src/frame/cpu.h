// CPU feature levels and the kernel-table builder shared by every family.
#pragma once

namespace zep {

// Instruction-set levels, each implying the ones below it. Kernel tables are
// filled with the scalar reference (Ref) and then overridden level by level.
enum class Isa : int { Ref = 0, SSSE3 = 1, SSE41 = 2, AVX2 = 3, AVX512 = 4 };
inline constexpr int kIsaCount = 5;

const char* isa_name(Isa level);

// Highest level this CPU and OS support; detected once, thread-safe, usable
// from load-time constructors.
Isa cpu_max_isa();

// Builds a family's kernel table for one level: the test and benchmark seam.
// Callers may ask for any level up to cpu_max_isa(); the exported entry points
// use the table built once for cpu_max_isa().
template <class Table>
Table build_table(void (*init)(Table&, Isa), Isa level) {
    Table t{};
    init(t, level);
    return t;
}

// The table an entry point uses. The object is created by a load-time
// constructor with a priority ahead of ordinary static initialisers, so callers'
// own static constructors already see a filled table.
template <class Table>
Table build_active_table(void (*init)(Table&, Isa)) {
    return build_table(init, cpu_max_isa());
}

}  // namespace zep

// Attach to every global kernel table definition.
#define ZEP_TABLE_INIT_PRIORITY __attribute__((init_priority(200)))
