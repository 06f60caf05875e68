#pragma once

/// A few calls that keep the names of the controller's former operating system.

/// Decimal text of a value ("%d", "%u") with its terminator; `buf` holds at least 12 bytes.
/// KEPT: `radix` is ignored, the result is always decimal. Required by the interface.
/// @return buf
char* itoa(int value, char* buf, int radix);
char* utoa(unsigned int value, char* buf, int radix);

/// Process registered under a name, looked up through `All`; the other arguments are ignored.
/// @return its pid; -1 when there is none, or no message object yet.
int qnx_name_locate(int node, const char* name, unsigned int size, unsigned int* copies);

/// vs_obj::Send through `All`.
/// @return -1 also when there is no message object yet.
int Send(int pid, void* smsg, void* rmsg, unsigned int ssize, unsigned int rsize);

/// Sleeps; a signal may end it early.
void delay(unsigned int ms);
