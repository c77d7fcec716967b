#pragma once
// Which way of working this run has, classic or standard, and what each of them is made of. docs/ways.md has a row
// for each face.

/// Reads the settings, decides and binds every face to its way: what the file says; without a word there, classic for
/// a user whose ConfigRoot exists, else standard. A user with neither is new here, and the file is written. Call
/// once, on the main thread, before the first window.
void ChooseWay();
