#pragma once
// A program in a fresh folder with a scripted platform and no log yet, and a writer of settings files.
#include <cstdint>
#include <string>
#include <vector>

#include "frontend/Application.h"
#include "support/ProgramFixture.h"

using FrontFixture = BasicFixture<ScriptedPlatform, false, Application>;

inline bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// Builds settings files: magic, count, records and folder, each text padded as asked.
struct SettingsBytes {
    std::vector<uint8_t> bytes;
    explicit SettingsBytes(uint8_t count) : bytes {0xCD, 0, 0, 0xCD, count} {}
    SettingsBytes& Text(const std::string& s, char pad = ' ') {
        for (size_t i = 0; i < 256; ++i) bytes.push_back(static_cast<uint8_t>(i < s.size() ? s[i] : pad));
        return *this;
    }
    SettingsBytes& Byte(uint8_t v) { return bytes.push_back(v), *this; }
    // A whole job with the given texts and option words; Reserved filled from a seed.
    SettingsBytes& Job(const std::string& src, const std::string& base, const std::string& out,
                       const std::string& name, std::vector<int16_t> words = {0, 0, 0, 0, 0, 0},
                       uint8_t uv = 0, uint8_t reservedSeed = 0, char pad = ' ') {
        Text(src, pad).Text(base, pad).Text(out, pad).Text(name, pad);
        for (int16_t w : words) Byte(uint8_t(w)).Byte(uint8_t(uint16_t(w) >> 8));
        Byte(uv);
        for (int i = 0; i < 256; ++i) Byte(static_cast<uint8_t>(reservedSeed * (i + 1)));
        return *this;
    }
    std::string Str() const { return std::string(bytes.begin(), bytes.end()); }
};
