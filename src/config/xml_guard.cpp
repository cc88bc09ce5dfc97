#include "config/xml_guard.h"

namespace cam::config {
namespace {

constexpr uint32_t kByteOrderMark = 0xFEFF;
constexpr uint32_t kFirstNonAscii = 0x80;
constexpr uint32_t kEbcdicOpen = 0x4C;  // "<" in EBCDIC, "L" in ASCII

constexpr bool IsXmlSpace(uint32_t unit) {
    return unit == ' ' || unit == '\t' || unit == '\r' || unit == '\n';
}

}  // namespace

const wchar_t* DescribeVerdict(XmlVerdict verdict) {
    switch (verdict) {
        case XmlVerdict::Accepted:
            break;
        case XmlVerdict::UnsafeDtd:
            return L"A document type definition must not contain quoted text.";
        case XmlVerdict::TooDeep:
            return L"The elements are nested too deeply.";
        case XmlVerdict::Unreadable:
            return L"This is no XML in a known encoding.";
    }
    return L"";
}

void XmlGuard::AddBytes(std::span<const unsigned char> bytes) {
    for (const unsigned char byte : bytes) {
        if (verdict != XmlVerdict::Accepted) return;
        AddByte(byte);
    }
}

void XmlGuard::AddByte(unsigned char byte) {
    if (encoding == Encoding::Bytes) return AddUnit(byte);
    if (!hasFirstByte) {
        firstByte = byte;
        hasFirstByte = true;
        return;
    }
    hasFirstByte = false;
    const auto little = static_cast<uint32_t>(firstByte | byte << 8);
    const auto big = static_cast<uint32_t>(firstByte << 8 | byte);
    if (encoding == Encoding::Unknown) {
        if (little == kByteOrderMark || little == '<') {
            encoding = Encoding::LittleEndian;
        } else if (big == kByteOrderMark || big == '<') {
            encoding = Encoding::BigEndian;
        } else {
            encoding = Encoding::Bytes;
            AddUnit(firstByte);
            AddUnit(byte);
            return;
        }
    }
    AddUnit(encoding == Encoding::LittleEndian ? little : big);
}

void XmlGuard::AddUnit(uint32_t unit) {
    if (verdict != XmlVerdict::Accepted) return;
    // No XML holds a zero; one here is half of an encoding that was not recognised.
    if (unit == 0) verdict = XmlVerdict::Unreadable;
    const State before = state;
    Follow(unit);
    // What ends a state must not begin before it: "<!-->" is no complete comment.
    const bool same = state == before;
    lastButOne = same ? last : 0;
    last = same ? unit : 0;
}

void XmlGuard::Follow(uint32_t unit) {
    switch (state) {
        case State::Start:
            // The three bytes of the mark in UTF-8 arrive one by one.
            if (IsXmlSpace(unit) || unit == kByteOrderMark) return;
            if (unit == 0xEF || unit == 0xBB || unit == 0xBF) return;
            // Not even mark-up: the parser has a reason of its own for that, unless it knows the encoding.
            if (unit == kEbcdicOpen || unit >= kFirstNonAscii) verdict = XmlVerdict::Unreadable;
            state = unit == '<' ? State::Opened : State::Text;
            return;
        case State::Text:
            if (unit == '<') state = State::Opened;
            return;
        case State::Dtd:
            return FollowDtd(unit);
        case State::Opened:
        case State::Bang:
        case State::Dash:
            return FollowOpened(unit);
        case State::Comment:
            if (unit == '>' && last == '-' && lastButOne == '-') state = Outside();
            return;
        case State::CharacterData:
            if (unit == '>' && last == ']' && lastButOne == ']') state = State::Text;
            return;
        case State::Instruction:
            if (unit == '>' && last == '?') state = Outside();
            return;
        case State::Tag:
            return FollowTag(unit);
        case State::EndTag:
            if (unit != '>') return;
            Leave();
            state = State::Text;
            return;
    }
}

// Comments and instructions apart, whose quotation marks mean nothing.
void XmlGuard::FollowDtd(uint32_t unit) {
    if (unit == '"' || unit == '\'') {
        verdict = XmlVerdict::UnsafeDtd;
    } else if (unit == '(') {
        Enter();
    } else if (unit == ')') {
        Leave();
    } else if (unit == '[' || unit == ']') {
        isInSubset = unit == '[';
    } else if (unit == '<') {
        state = State::Opened;
    } else if (unit == '>' && !isInSubset) {
        isInDtd = false;
        state = State::Text;
    }
}

// After "<", "<!" and "<!-".
void XmlGuard::FollowOpened(uint32_t unit) {
    if (state == State::Bang) {
        FollowBang(unit);
    } else if (state == State::Dash) {
        state = State::Comment;
        if (unit != '-') verdict = XmlVerdict::Unreadable;
    } else if (unit == '!') {
        state = State::Bang;
    } else if (unit == '?') {
        state = State::Instruction;
    } else if (isInDtd) {
        verdict = XmlVerdict::UnsafeDtd;
    } else if (unit == '/') {
        state = State::EndTag;
    } else {
        state = State::Tag;
        FollowTag(unit);
    }
}

void XmlGuard::FollowBang(uint32_t unit) {
    if (unit == '-') {
        state = State::Dash;
    } else if (isInDtd) {
        state = State::Dtd;  // a declaration
        FollowDtd(unit);
    } else if (unit == '[') {
        state = State::CharacterData;
    } else {
        // One DTD, before the elements; anything else no parser accepts.
        if (unit != 'D' || hasDtd || depth > 0) verdict = XmlVerdict::UnsafeDtd;
        hasDtd = true;
        isInDtd = true;
        state = State::Dtd;
    }
}

void XmlGuard::FollowTag(uint32_t unit) {
    if (quote != 0) {
        if (unit == quote) quote = 0;
    } else if (unit == '"' || unit == '\'') {
        quote = unit;
    } else if (unit == '>') {
        if (last != '/') Enter();
        state = State::Text;
    }
}

void XmlGuard::Enter() {
    if (++depth > kMaxDepth) verdict = XmlVerdict::TooDeep;
}

void XmlGuard::Leave() {
    if (depth > 0) --depth;
}

}  // namespace cam::config
