#pragma once

// What the program has asked of the window system and the toolkit still holds back.
namespace WindowRequests {

// Sends it on its way now, without waiting for an answer or handling any event: for when
// nothing else would send it soon, as when a window is only reshaped, frame after frame.
void send();

// Sends it and waits until the window system has carried it out: after this, a window
// hidden before is off the screen for every other client too. One round trip; no events
// are handled meanwhile.
void sync();

} // namespace WindowRequests
