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
        case XmlVerdict::kAccepted:
            break;
        case XmlVerdict::kUnsafeDtd:
            return L"A document type definition must not contain quoted text.";
        case XmlVerdict::kTooDeep:
            return L"The elements are nested too deeply.";
        case XmlVerdict::kUnreadable:
            return L"This is no XML in a known encoding.";
    }
    return L"";
}

void XmlGuard::AddBytes(const unsigned char* bytes, size_t count) {
    for (size_t i = 0; i < count && verdict_ == XmlVerdict::kAccepted; ++i) AddByte(bytes[i]);
}

void XmlGuard::AddByte(unsigned char byte) {
    if (encoding_ == Encoding::kBytes) return AddUnit(byte);
    if (!hasFirstByte_) {
        firstByte_ = byte;
        hasFirstByte_ = true;
        return;
    }
    hasFirstByte_ = false;
    const auto little = static_cast<uint32_t>(firstByte_ | byte << 8);
    const auto big = static_cast<uint32_t>(firstByte_ << 8 | byte);
    if (encoding_ == Encoding::kUnknown) {
        if (little == kByteOrderMark || little == '<') {
            encoding_ = Encoding::kLittleEndian;
        } else if (big == kByteOrderMark || big == '<') {
            encoding_ = Encoding::kBigEndian;
        } else {
            encoding_ = Encoding::kBytes;
            AddUnit(firstByte_);
            AddUnit(byte);
            return;
        }
    }
    AddUnit(encoding_ == Encoding::kLittleEndian ? little : big);
}

void XmlGuard::AddUnit(uint32_t unit) {
    if (verdict_ != XmlVerdict::kAccepted) return;
    // No XML holds a zero; one here is half of an encoding that was not recognised.
    if (unit == 0) verdict_ = XmlVerdict::kUnreadable;
    const State before = state_;
    Follow(unit);
    // What ends a state must not begin before it: "<!-->" is no complete comment.
    const bool same = state_ == before;
    lastButOne_ = same ? last_ : 0;
    last_ = same ? unit : 0;
}

void XmlGuard::Follow(uint32_t unit) {
    switch (state_) {
        case State::kStart:
            // The three bytes of the mark in UTF-8 arrive one by one.
            if (IsXmlSpace(unit) || unit == kByteOrderMark) return;
            if (unit == 0xEF || unit == 0xBB || unit == 0xBF) return;
            // Not even mark-up: the parser has a reason of its own for that, unless it knows the encoding.
            if (unit == kEbcdicOpen || unit >= kFirstNonAscii) verdict_ = XmlVerdict::kUnreadable;
            state_ = unit == '<' ? State::kOpened : State::kText;
            return;
        case State::kText:
            if (unit == '<') state_ = State::kOpened;
            return;
        case State::kDtd:
            return FollowDtd(unit);
        case State::kOpened:
        case State::kBang:
        case State::kDash:
            return FollowOpened(unit);
        case State::kComment:
            if (unit == '>' && last_ == '-' && lastButOne_ == '-') state_ = Outside();
            return;
        case State::kCharacterData:
            if (unit == '>' && last_ == ']' && lastButOne_ == ']') state_ = State::kText;
            return;
        case State::kInstruction:
            if (unit == '>' && last_ == '?') state_ = Outside();
            return;
        case State::kTag:
            return FollowTag(unit);
        case State::kEndTag:
            if (unit != '>') return;
            Leave();
            state_ = State::kText;
            return;
    }
}

// Comments and instructions apart, whose quotation marks mean nothing.
void XmlGuard::FollowDtd(uint32_t unit) {
    if (unit == '"' || unit == '\'') {
        verdict_ = XmlVerdict::kUnsafeDtd;
    } else if (unit == '(') {
        Enter();
    } else if (unit == ')') {
        Leave();
    } else if (unit == '[' || unit == ']') {
        isInSubset_ = unit == '[';
    } else if (unit == '<') {
        state_ = State::kOpened;
    } else if (unit == '>' && !isInSubset_) {
        isInDtd_ = false;
        state_ = State::kText;
    }
}

// After "<", "<!" and "<!-".
void XmlGuard::FollowOpened(uint32_t unit) {
    if (state_ == State::kBang) {
        FollowBang(unit);
    } else if (state_ == State::kDash) {
        state_ = State::kComment;
        if (unit != '-') verdict_ = XmlVerdict::kUnreadable;
    } else if (unit == '!') {
        state_ = State::kBang;
    } else if (unit == '?') {
        state_ = State::kInstruction;
    } else if (isInDtd_) {
        verdict_ = XmlVerdict::kUnsafeDtd;
    } else if (unit == '/') {
        state_ = State::kEndTag;
    } else {
        state_ = State::kTag;
        FollowTag(unit);
    }
}

void XmlGuard::FollowBang(uint32_t unit) {
    if (unit == '-') {
        state_ = State::kDash;
    } else if (isInDtd_) {
        state_ = State::kDtd;  // a declaration
        FollowDtd(unit);
    } else if (unit == '[') {
        state_ = State::kCharacterData;
    } else {
        // One DTD, before the elements; anything else no parser accepts.
        if (unit != 'D' || hasDtd_ || depth_ > 0) verdict_ = XmlVerdict::kUnsafeDtd;
        hasDtd_ = true;
        isInDtd_ = true;
        state_ = State::kDtd;
    }
}

void XmlGuard::FollowTag(uint32_t unit) {
    if (quote_ != 0) {
        if (unit == quote_) quote_ = 0;
    } else if (unit == '"' || unit == '\'') {
        quote_ = unit;
    } else if (unit == '>') {
        if (last_ != '/') Enter();
        state_ = State::kText;
    }
}

void XmlGuard::Enter() {
    if (++depth_ > kMaximumDepth) verdict_ = XmlVerdict::kTooDeep;
}

void XmlGuard::Leave() {
    if (depth_ > 0) --depth_;
}

}  // namespace cam::config
