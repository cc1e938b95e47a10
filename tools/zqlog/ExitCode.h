#pragma once

/// What the program answers its caller with.
enum ExitCode : int {
  exitDone = 0,      ///< the command did what it was asked to
  exitFailed = 1,    ///< it could not be carried out
  exitBadInput = 2,  ///< the command line or an input file is at fault; nothing was done
  exitPoor = 3,      ///< what was looked at will give poor records
  exitNothing = 4,   ///< what was looked at will give none
};
