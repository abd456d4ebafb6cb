#pragma once

/// Reads which typefaces the system has, and how they stand in for each other, before a program's
/// first text needs it; that takes as long as reaching the display. May run on a thread of its own
/// while the application object is made.
void readSystemTypefaces();
