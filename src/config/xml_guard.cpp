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
        if (verdict_ != XmlVerdict::Accepted) return;
        AddByte(byte);
    }
}

void XmlGuard::AddByte(unsigned char byte) {
    if (encoding_ == Encoding::Bytes) return AddUnit(byte);
    if (!hasFirstByte_) {
        firstByte_ = byte;
        hasFirstByte_ = true;
        return;
    }
    hasFirstByte_ = false;
    const auto little = static_cast<uint32_t>(firstByte_ | byte << 8);
    const auto big = static_cast<uint32_t>(firstByte_ << 8 | byte);
    if (encoding_ == Encoding::Unknown) {
        if (little == kByteOrderMark || little == '<') {
            encoding_ = Encoding::LittleEndian;
        } else if (big == kByteOrderMark || big == '<') {
            encoding_ = Encoding::BigEndian;
        } else {
            encoding_ = Encoding::Bytes;
            AddUnit(firstByte_);
            AddUnit(byte);
            return;
        }
    }
    AddUnit(encoding_ == Encoding::LittleEndian ? little : big);
}

void XmlGuard::AddUnit(uint32_t unit) {
    if (verdict_ != XmlVerdict::Accepted) return;
    // No XML holds a zero; one here is half of an encoding that was not recognised.
    if (unit == 0) verdict_ = XmlVerdict::Unreadable;
    const State before = state_;
    Follow(unit);
    // What ends a state must not begin before it: "<!-->" is no complete comment.
    const bool same = state_ == before;
    lastButOne_ = same ? last_ : 0;
    last_ = same ? unit : 0;
}

void XmlGuard::Follow(uint32_t unit) {
    switch (state_) {
        case State::Start:
            // The three bytes of the mark in UTF-8 arrive one by one.
            if (IsXmlSpace(unit) || unit == kByteOrderMark) return;
            if (unit == 0xEF || unit == 0xBB || unit == 0xBF) return;
            // Not even mark-up: the parser has a reason of its own for that, unless it knows the encoding.
            if (unit == kEbcdicOpen || unit >= kFirstNonAscii) verdict_ = XmlVerdict::Unreadable;
            state_ = unit == '<' ? State::Opened : State::Text;
            return;
        case State::Text:
            if (unit == '<') state_ = State::Opened;
            return;
        case State::Dtd:
            return FollowDtd(unit);
        case State::Opened:
        case State::Bang:
        case State::Dash:
            return FollowOpened(unit);
        case State::Comment:
            if (unit == '>' && last_ == '-' && lastButOne_ == '-') state_ = Outside();
            return;
        case State::CharacterData:
            if (unit == '>' && last_ == ']' && lastButOne_ == ']') state_ = State::Text;
            return;
        case State::Instruction:
            if (unit == '>' && last_ == '?') state_ = Outside();
            return;
        case State::Tag:
            return FollowTag(unit);
        case State::EndTag:
            if (unit != '>') return;
            Leave();
            state_ = State::Text;
            return;
    }
}

// Comments and instructions apart, whose quotation marks mean nothing.
void XmlGuard::FollowDtd(uint32_t unit) {
    if (unit == '"' || unit == '\'') {
        verdict_ = XmlVerdict::UnsafeDtd;
    } else if (unit == '(') {
        Enter();
    } else if (unit == ')') {
        Leave();
    } else if (unit == '[' || unit == ']') {
        isInSubset_ = unit == '[';
    } else if (unit == '<') {
        state_ = State::Opened;
    } else if (unit == '>' && !isInSubset_) {
        isInDtd_ = false;
        state_ = State::Text;
    }
}

// After "<", "<!" and "<!-".
void XmlGuard::FollowOpened(uint32_t unit) {
    if (state_ == State::Bang) {
        FollowBang(unit);
    } else if (state_ == State::Dash) {
        state_ = State::Comment;
        if (unit != '-') verdict_ = XmlVerdict::Unreadable;
    } else if (unit == '!') {
        state_ = State::Bang;
    } else if (unit == '?') {
        state_ = State::Instruction;
    } else if (isInDtd_) {
        verdict_ = XmlVerdict::UnsafeDtd;
    } else if (unit == '/') {
        state_ = State::EndTag;
    } else {
        state_ = State::Tag;
        FollowTag(unit);
    }
}

void XmlGuard::FollowBang(uint32_t unit) {
    if (unit == '-') {
        state_ = State::Dash;
    } else if (isInDtd_) {
        state_ = State::Dtd;  // a declaration
        FollowDtd(unit);
    } else if (unit == '[') {
        state_ = State::CharacterData;
    } else {
        // One DTD, before the elements; anything else no parser accepts.
        if (unit != 'D' || hasDtd_ || depth_ > 0) verdict_ = XmlVerdict::UnsafeDtd;
        hasDtd_ = true;
        isInDtd_ = true;
        state_ = State::Dtd;
    }
}

void XmlGuard::FollowTag(uint32_t unit) {
    if (quote_ != 0) {
        if (unit == quote_) quote_ = 0;
    } else if (unit == '"' || unit == '\'') {
        quote_ = unit;
    } else if (unit == '>') {
        if (last_ != '/') Enter();
        state_ = State::Text;
    }
}

void XmlGuard::Enter() {
    if (++depth_ > kMaxDepth) verdict_ = XmlVerdict::TooDeep;
}

void XmlGuard::Leave() {
    if (depth_ > 0) --depth_;
}

}  // namespace cam::config
