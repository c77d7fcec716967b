#pragma once
// The scratch directory: the page that is shown, its images and its source. Every running program has one of its own,
// which it holds with a flock on the directory: one program's reply must not quote what another one shows.

/// <home>/.Corvanta/.tmp/ or .tmp-<pid>/ (with the slash), or empty when the user has no password entry. Written once
/// at start-up by SetTempDir, then read by every thread.
extern char TempDir[1100];

/// Fills TempDir and makes the directory (mode 0700): ".tmp", unless another running program has it or it is no
/// directory (a link is not followed), then ".tmp-<pid>". Directories of programs that were killed are removed. On
/// the very first start the parent does not exist yet and neither will TempDir: the next start makes it.
void SetTempDir();

/// Removes all files of TempDir, and a ".tmp-<pid>" itself. For the end of the program.
void LeaveTempDir();

/// Removes the files of `directory` (a path ending in a slash), the raw message "originalmsg" and the page "msg.html"
/// only when `removeAll`. Links are removed, never followed, and a link in the place of the directory is left alone;
/// of directories only empty ones are removed.
void RemoveTempFiles(char const *directory, bool removeAll);
