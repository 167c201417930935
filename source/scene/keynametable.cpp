#include "scene/keynametable.h"

void KeyNameTable::Set(const std::string& name, int32_t code) {
    table[name] = code;
    ++assignments;
}

void KeyNameTable::Build() {
    // Control keys.
    Set("backspace", 8);
    Set("tab", 9);
    Set("clear", 12);
    Set("return", 13);
    Set("pause", 19);
    Set("escape", 27);
    Set("space", 32);
    // Punctuation.
    Set("exclamation", 33);
    Set("dquote", 34);
    Set("hash", 35);
    Set("dollar", 36);
    Set("ampersand", 38);
    Set("squote", 39);
    Set("lparenthesis", 40);
    Set("rparenthesis", 41);
    Set("asterisk", 42);
    Set("plussign", 43);
    Set("comma", 44);
    Set("minussign", 45);
    Set("period", 46);
    Set("fslash", 47);
    // Digits.
    for (int32_t digit = 0; digit <= 9; ++digit) Set(std::string(1, char('0' + digit)), 48 + digit);
    // More punctuation.
    Set("colon", 58);
    Set("semicolon", 59);
    Set("lessthan", 60);
    Set("equals", 61);
    Set("greaterthan", 62);
    Set("question", 63);
    Set("at", 64);
    Set("lbracket", 91);
    Set("backslash", 92);
    Set("rbracket", 93);
    Set("caret", 94);
    Set("underscore", 95);
    Set("grave", 96);
    // Letters.
    for (int32_t letter = 0; letter < 26; ++letter)
        Set(std::string(1, char('a' + letter)), 97 + letter);
    Set("delete", 127);
    // Keypad.
    for (int32_t digit = 0; digit <= 9; ++digit) Set("keypad" + std::to_string(digit), 256 + digit);
    // The keypad row keeps its historic values: "kperiod" twice, "kminus" on 267.
    Set("kperiod", 266);
    Set("kdivide", 267);
    Set("kmultiply", 268);
    Set("kminus", 267);
    Set("kperiod", 269);
    Set("kplus", 270);
    Set("kenter", 271);
    Set("kequals", 272);
    // Navigation.
    Set("uparrow", 273);
    Set("downarrow", 274);
    Set("rightarrow", 275);
    Set("leftarrow", 276);
    Set("insert", 277);
    Set("home", 278);
    Set("end", 279);
    Set("pageup", 280);
    Set("pagedown", 281);
    // Function keys.
    for (int32_t f = 1; f <= 15; ++f) Set("F" + std::to_string(f), 281 + f);
    // Modifiers.
    Set("numlock", 300);
    Set("capslock", 301);
    Set("scrollock", 302);
    Set("rshift", 303);
    Set("lshift", 304);
    Set("rctrl", 305);
    Set("lctrl", 306);
    Set("ralt", 307);
    Set("lalt", 308);
    Set("rmeta", 309);
    Set("lmeta", 310);
    Set("lwindows", 311);
    Set("rwindows", 312);
    Set("modeshift", 313);
    Set("compose", 314);
    // System keys; "sysreq" is set twice.
    Set("help", 315);
    Set("printscreen", 316);
    Set("sysreq", 317);
    Set("sysreq", 317);
    Set("break", 318);
    Set("menu", 319);
    Set("power", 320);
    Set("euro", 321);
    Set("undo", 322);
}

bool KeyNameTable::Lookup(const std::string& name, int32_t& out) const {
    auto it = table.find(name);
    if (it == table.end()) return false;
    out = it->second;
    return true;
}
