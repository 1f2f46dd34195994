// copyFileIntoTargetFolder against `cp`, which copies with the same
// copy_file_range, so parity is the physical limit.
#pragma once

#include <QString>

// Copies one large file and then many small ones inside `folder`, `rounds`
// times each, ours and cp in alternating order, every copy checked byte for
// byte. Prints min/median/max of both and their ratio. False when a copy
// failed or differed.
bool runCopyBench(const QString& folder, int rounds);
