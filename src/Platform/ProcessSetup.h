#pragma once

/// What must hold for the process before anything else happens; the first call in main.
///
/// The three standard streams are open, if only to nowhere: a socket that got the number of a
/// closed one would receive what is meant for it. A reader of our output that goes away does not
/// take the program with it. As many descriptors may be open as the system allows, for a crowd of
/// web browsers. Large pictures that have been given up give their memory back to the system,
/// however long the show.
void prepareProcess();
