#pragma once

/// Lets screen readers see the rows of every CueRowsView as the items of a list, each with its
/// buttons as actions. For widgets that are made afterwards; calling it again does nothing.
void makeCueRowsAccessible();
