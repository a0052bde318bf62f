#pragma once

/// Real faults, each in a function of its own that the linker shows by its name. They are compiled
/// without sanitizers, which would find the fault before the machine does.
extern "C" {
void dieOfNullDereference();
void dieOfCallOfNothing();
void dieOfIntegerDivision();
void dieOfStackOverflow();
void dieOfIllegalInstruction();
void dieOfTrap();
void dieOfMissingFilePage();
void dieOfForbiddenSystemCall();
void dieOfAbort();
/// Throws a PlatformException, "The disk is full."
void dieOfUncaughtException();
/// Breaks the return addresses of its callers first.
void dieWithBrokenStack();
}
