// generateUniqueFileName against the same rule in plain POSIX.
#pragma once

#include <QString>

// With 0, 100 and 1,000 names already taken in a folder under `folder`,
// runs ours and the peer in alternating order, `rounds` times, each round
// timing a batch of calls; both must find the same name. Prints the CPU time
// per call (the work is system calls on cached folders, and CPU time is what
// a busy machine leaves steady) as min/median/max and the ratio. False when
// the two disagree.
bool runUniqueNameBench(const QString& folder, int rounds);
