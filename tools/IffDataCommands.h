#pragma once
// The commands of grundel-iff that see chunks as typed data and as text.
// Each returns the tool's exit status: 0, or 1 after a message on standard
// error.

extern const char kDumpHelp[];
extern const char kToTextHelp[];
extern const char kFromTextHelp[];

int dumpCommand(const char* name);
int toTextCommand(const char* name);
int fromTextCommand(const char* textName, const char* outName);
