#ifndef ZQEXAMPLES_INTERRUPT_H
#define ZQEXAMPLES_INTERRUPT_H

/// Ctrl-C and a request to terminate, taken as a wish to stop in good order.
namespace Interrupt
{
/// From now on SIGINT, SIGTERM and, unless it is ignored, SIGHUP are only remembered.
void Catch();
/// Lets them end the process again, unless one has come: then the good order is under way, and another copy of the same
/// request (some senders signal the process and its group) must not cut it short.
void Release();
/// Whether one has come.
bool Requested();
}  // namespace Interrupt

#endif
