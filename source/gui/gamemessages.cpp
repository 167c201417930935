#include "gui/gamemessages.h"

float MessageDuration(const std::string& text) { return static_cast<float>(text.size()) * 0.013f; }

void AddGameMessage(std::list<GameMessage>& messages, const std::string& text, float time,
                    float fade_in) {
    for (GameMessage& old : messages) {
        if (time - old.start_time < old.duration + fade_in)
            old.start_time = time - (old.duration + fade_in);
    }
    GameMessage message;
    message.text = text;
    message.duration = MessageDuration(text);
    message.start_time = time;
    messages.push_back(message);
}

MessageLook LookOfMessage(const GameMessage& message, float time, float fade_in, float fade_out,
                          float screen_height) {
    MessageLook look;
    const float age = time - message.start_time;
    const float hold_end = message.duration + fade_in;
    if (age < fade_in) {
        look.phase = MessageLook::FADE_IN;
        // Only a time before the message's own start reaches here with no fade-in at all.
        look.alpha = fade_in > 0.0f ? age / fade_in : 0.0f;
    } else if (age < hold_end) {
        look.phase = MessageLook::HOLD;
        look.alpha = 1.0f;
    } else if (age < hold_end + fade_out) {
        look.phase = MessageLook::FADE_OUT;
        look.alpha = (fade_out - (age - hold_end)) / fade_out;
        look.offset = (1.0f - look.alpha) * screen_height / 6.0f;
    }
    return look;
}

void DropFinishedMessages(std::list<GameMessage>& messages, float time, float fade_in,
                          float fade_out) {
    // Erasing one and searching again from the front drops the same set as one pass.
    messages.remove_if([&](const GameMessage& m) {
        return time - m.start_time > m.duration + fade_in + fade_out;
    });
}
