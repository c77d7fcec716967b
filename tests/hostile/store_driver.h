#pragma once
// What the driver and the tests that run it agree on.

constexpr char kDriverMessage[] =
    "Subject: driver\r\nFrom: d@example.org\r\nDate: today\r\n\r\nwhat the driver stores\r\n";
constexpr char kSavedServer[] = "pop.new.example.org";
/// Looked for just before and just after the operation.
constexpr char kBegin[] = "/operation-begins";
constexpr char kEnd[] = "/operation-ends";
