// A look at an XML text before the parser sees it. Parsers differ in what stops them, and some follow a
// document into the network, expand it beyond all memory or run off the end of the stack: such documents are
// kept away from all of them.
#pragma once

#include <cstdint>
#include <span>

namespace cam::config {

enum class XmlVerdict {
    Accepted,
    UnsafeDtd,   // a DTD that declares an entity, holds much quoted text, or is none
    TooDeep,     // more than XmlGuard::kMaxDepth elements, or parentheses of a DTD, inside one another
    Unreadable,  // no XML in UTF-8, UTF-16, US-ASCII, ISO 8859 or a Windows code page of one byte a character
};

// A sentence for a message.
const wchar_t* DescribeVerdict(XmlVerdict verdict);

// Follows the mark-up only as far as the verdict needs it. Whether the document is well-formed is the
// parser's to say. A DTD without entities is left to the parser, which must be told not to fetch what it
// names; its default values make each element longer, so there must not be much of them.
class XmlGuard {
  public:
    static constexpr int kMaxDepth = 256;     // what parsers with a limit of their own accept
    static constexpr int kMaxDtdText = 1024;  // quoted characters in all

    // The next bytes of a file, which may be split anywhere. Whether a character has one byte or two is taken
    // from the first two; an encoding that is declared besides must be one in which ASCII means ASCII.
    void AddBytes(std::span<const unsigned char> bytes);

    // The next character of a text in memory. A document is given either as bytes or as characters.
    void AddUnit(uint32_t unit);

    // Final once it is not Accepted; the rest need not be added.
    XmlVerdict Verdict() const { return verdict; }

    // Whether a DTD was seen so far.
    bool HasDtd() const { return hasDtd; }

  private:
    enum class State {
        Start,
        Text,
        Dtd,
        Opened,
        Bang,
        Dash,
        Comment,
        CharacterData,
        Instruction,
        Tag,
        EndTag
    };
    enum class Encoding { Unknown, Bytes, LittleEndian, BigEndian };

    void AddByte(unsigned char byte);
    void Follow(uint32_t unit);
    void FollowDtd(uint32_t unit);
    void FollowOpened(uint32_t unit);
    void FollowBang(uint32_t unit);
    void FollowTag(uint32_t unit);
    void FollowInstruction(uint32_t unit);
    void FollowDeclaration(uint32_t unit);
    void Enter();
    void Leave();
    State Outside() const { return isInDtd ? State::Dtd : State::Text; }  // of a comment or instruction

    XmlVerdict verdict = XmlVerdict::Accepted;
    State state = State::Start;
    Encoding encoding = Encoding::Unknown;
    bool hasFirstByte = false;  // half of a 16-bit unit, or of the two bytes that tell the encoding
    unsigned char firstByte = 0;
    bool hasDtd = false;
    bool isInDtd = false;
    bool isInSubset = false;       // between the brackets of the DTD
    bool isInDeclaration = false;  // of the DTD
    int declared = 0;              // characters of the declaration so far
    uint32_t initial = 0;          // the first of them
    int quoted = 0;                // characters between quotation marks of the DTD
    int depth = 0;
    uint32_t quote = 0;  // inside a quoted text: its quotation mark
    // The start of an instruction, to see whether it is the XML declaration and what that says.
    static constexpr size_t kMaxInstruction = 200;
    char instruction[kMaxInstruction];
    size_t instructionLength = 0;
    uint32_t last = 0;  // the two units before the current one, within the current state
    uint32_t lastButOne = 0;
};

}  // namespace cam::config
