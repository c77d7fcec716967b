#pragma once
// The way of working of this run: classic, exactly as existing data knows it, or standard. src/ways decides once at
// the start and binds every face to its way; only what is shown asks here (a column, a greyed command).

/// True in the classic way, which is also that of a program that never chose. Any thread.
bool Classic();

/// For src/ways, before the first window and the first thread.
void SetClassic(bool classic);
