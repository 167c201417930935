#pragma once
// The fading messages of the in-game layer: what the game's objects announce ("The yard
// door swings open") stands in the lower part of the screen, fades in, holds for a time
// that grows with its length, fades out while sinking, and is then dropped. A new message
// drives the earlier ones out: they start to fade out at once. Plain logic, no GL.

#include <list>
#include <string>

struct GameMessage {
    std::string text;
    float duration = 0.0f;    // seconds of holding: 0.013 a byte of text
    float start_time = 0.0f;  // seconds, the frame time it arrived
};

// How a message looks at a moment: its alpha and how far below its place it has sunk.
struct MessageLook {
    enum Phase { FADE_IN, HOLD, FADE_OUT, OVER };
    Phase phase = OVER;
    float alpha = 0.0f;
    float offset = 0.0f;  // virtual units downwards
};

// Seconds of holding a text: its length in bytes times 0.013.
float MessageDuration(const std::string& text);

// Fast-forwards every message still before its fade-out to the start of it, then appends
// `text` arriving at `time`.
void AddGameMessage(std::list<GameMessage>& messages, const std::string& text, float time,
                    float fade_in);

// The phase tests in order: fading in while younger than `fade_in`, holding until
// `duration` + `fade_in`, then fading out (sinking by up to a sixth of `screen_height`)
// for `fade_out`; over after that. A `fade_in` or `fade_out` of 0 skips its phase instead
// of dividing by it.
MessageLook LookOfMessage(const GameMessage& message, float time, float fade_in, float fade_out,
                          float screen_height);

// Drops every message older than its whole life (`duration` + `fade_in` + `fade_out`).
void DropFinishedMessages(std::list<GameMessage>& messages, float time, float fade_in,
                          float fade_out);
