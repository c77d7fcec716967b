#pragma once
// The rows of a stored folder in the header list.

/// Appends the rows of the open profile's folder to the header list, converting an index of earlier versions first.
/// Those of a very large index come from a worker, piece by piece, until the list is freed or another profile opened.
/// Returns false when the folder has no index. Under the library lock.
bool AddFolderRows(char const *profile, char const *folder);
