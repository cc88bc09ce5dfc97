// A look at an XML text before the parser sees it. Parsers differ in what stops them, and some follow a
// document into the network, expand it beyond all memory or run off the end of the stack: such documents are
// kept away from all of them.
#pragma once

#include <cstdint>
#include <span>

namespace cam::config {

enum class XmlVerdict {
    Accepted,
    UnsafeDtd,   // a DTD that quotes something: an entity, a default value, or a name outside the document
    TooDeep,     // more than XmlGuard::kMaxDepth elements, or parentheses of a DTD, inside one another
    Unreadable,  // no XML in UTF-8, UTF-16 or another encoding that contains ASCII
};

// A sentence for a message.
const wchar_t* DescribeVerdict(XmlVerdict verdict);

// Follows the mark-up only as far as the verdict needs it. Whether the document is well-formed is the
// parser's to say. A DTD that quotes nothing can neither name anything outside the document nor make it
// longer, and is left to the parser.
class XmlGuard {
  public:
    static constexpr int kMaxDepth = 256;  // what parsers with a limit of their own accept

    // The next bytes of a file, which may be split anywhere. The encoding is taken from the first two.
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
    bool isInSubset = false;  // between the brackets of the DTD
    int depth = 0;
    uint32_t quote = 0;  // inside a quoted attribute value: its quotation mark
    uint32_t last = 0;   // the two units before the current one, within the current state
    uint32_t lastButOne = 0;
};

}  // namespace cam::config
