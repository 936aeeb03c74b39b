// The vectorised minifier's shared core. Each variant includes this file inside namespace
// tovanel::uvc_stereo::detail and inside its instruction-set region, after <cstddef>, <cstdint>, <cstring>,
// <string> and flash/json_minifier_variants.h, then defines its Block type (below): everything here is compiled
// once per variant with that variant's extensions and stays private to the variant's file.
//
// The text is read 64 bytes at a time. A Block classifies its 64 bytes into bit masks (quotes, backslashes,
// whitespace, the structural bytes { } [ ] , : and control bytes); plain bit arithmetic then finds which bytes are
// escaped and which lie inside strings, so the whitespace to drop, the start of every token and every escape are
// known for the whole block at once. A block wholly inside a string with nothing to check is copied as it is. A
// block holding several numbers or literals is also classified into the bytes they are made of, and their shapes
// checked at once; a lone one is read where it starts. The tokens are then checked against the grammar in order,
// and the kept bytes are packed to the output by the Block. Whatever the checks cannot vouch for ends the pass
// with false, and the scalar scanner then gives the verdict, so acceptance here only ever agrees with it.
//
// A Block type provides:
//   explicit Block(const char* bytes);                  // 64 readable bytes
//   JsonBlockMasks masks() const;                      // quote, backslash, whitespace, structural, control
//   void atom_masks(JsonBlockMasks& m) const;           // the rest: the bytes numbers and literals are made of
//   static std::uint64_t prefix_xor(std::uint64_t bits); // bit i = XOR of bits 0..i
//   char* compress(std::uint64_t keep, char* out) const; // writes up to 64 bytes, returns out + popcount(keep)
//
// The two-stage form (minify_json_indexed, further down) also needs:
//   using Bytes = ...;                                   // the block's bytes in a register
//   std::uint64_t equal(char c) const;                   // the bytes equal to c
//   Bytes lower() const;                                 // the bytes with bit 0x20 set
//   static std::uint64_t equal_in(const Bytes&, char c); // of such bytes: equal to c
//   static std::uint64_t in_range(const Bytes&, char first, char last); // ... between first and last
//   static std::size_t append_positions(std::uint16_t* out, std::uint16_t offset, std::uint64_t bits);
//                                                        // offset + each set bit's number, in order; returns count

namespace {

struct JsonBlockMasks {
  std::uint64_t quote = 0;
  std::uint64_t backslash = 0;
  std::uint64_t whitespace = 0;
  // { } [ ] , : and possibly some control bytes, which are refused on their own account.
  std::uint64_t structural = 0;
  std::uint64_t control = 0;  // bytes below 0x20
  std::uint64_t digit = 0;    // '0'..'9'
  // The other bytes numbers and literals are made of.
  std::uint64_t zero = 0;
  std::uint64_t minus = 0;
  std::uint64_t plus = 0;
  std::uint64_t point = 0;
  std::uint64_t exponent = 0;  // 'e' or 'E'
  std::uint64_t t = 0;
  std::uint64_t r = 0;
  std::uint64_t u = 0;
  std::uint64_t e = 0;
  std::uint64_t f = 0;
  std::uint64_t a = 0;
  std::uint64_t l = 0;
  std::uint64_t s = 0;
  std::uint64_t n = 0;
};

// Fills the masks of single byte values; `equal(c)` gives the mask of the block's bytes equal to c.
template <class Equal>
void fill_atom_byte_masks(JsonBlockMasks& m, const Equal& equal) noexcept {
  m.zero = equal('0');
  m.minus = equal('-');
  m.plus = equal('+');
  m.point = equal('.');
  m.e = equal('e');
  m.exponent = m.e | equal('E');
  m.t = equal('t');
  m.r = equal('r');
  m.u = equal('u');
  m.f = equal('f');
  m.a = equal('a');
  m.l = equal('l');
  m.s = equal('s');
  m.n = equal('n');
}

inline unsigned lowest_set_bit(std::uint64_t bits) noexcept { return static_cast<unsigned>(__builtin_ctzll(bits)); }

// Bit i becomes the XOR of bits 0..i: with quote bits in, the bytes from an opening quote up to (not including)
// its closing quote. The form for processors without carry-less multiplication.
inline std::uint64_t prefix_xor_by_shifts(std::uint64_t bits) noexcept {
  bits ^= bits << 1;
  bits ^= bits << 2;
  bits ^= bits << 4;
  bits ^= bits << 8;
  bits ^= bits << 16;
  bits ^= bits << 32;
  return bits;
}

// The bytes that follow a run of backslashes of odd length: the escaped bytes that are not backslashes themselves.
// Adding a run's first bit to the backslash mask carries through the run and lands on the byte after it; a run of
// odd length starts and ends on bits of different parity. `odd_run` (0 or 1) says whether the backslashes just
// before this block were an odd run, and is updated for the next block.
inline std::uint64_t escaped_bytes(std::uint64_t backslash, std::uint64_t& odd_run) noexcept {
  constexpr std::uint64_t kEvenBits = 0x5555555555555555ull;
  const std::uint64_t starts = backslash & ~(backslash << 1);
  // A run continuing from the previous block counts as starting one byte before this one when that part was odd.
  const std::uint64_t even_start_bits = kEvenBits ^ odd_run;
  const std::uint64_t even_starts = starts & even_start_bits;
  const std::uint64_t odd_starts = starts & ~even_start_bits;
  const std::uint64_t even_ends = (backslash + even_starts) & ~backslash;
  std::uint64_t odd_carries = 0;
  const bool odd_run_reaches_next_block = __builtin_add_overflow(backslash, odd_starts, &odd_carries);
  const std::uint64_t odd_ends = (odd_carries | odd_run) & ~backslash;
  odd_run = odd_run_reaches_next_block ? 1 : 0;
  return (even_ends & ~kEvenBits) | (odd_ends & kEvenBits);
}

inline bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

inline int hex_value(char c) noexcept {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The shape of a number or literal that starts at `position` of the whole text and ends where whitespace, a comma
// or a closing bracket follows (or the text ends); anything else after it could only be refused by the grammar.
// Used for the rare ones that run into the next block.
inline const char* match_word(const char* p, const char* end, const char* expected, std::size_t size) noexcept {
  if (static_cast<std::size_t>(end - p) < size || std::memcmp(p, expected, size) != 0) {
    return nullptr;
  }
  return p + size;
}

inline const char* skip_digits(const char* p, const char* end) noexcept {
  while (p < end && is_digit(*p)) {
    ++p;
  }
  return p;
}

inline const char* match_number(const char* p, const char* end) noexcept {
  if (*p == '-') {
    if (++p == end) {
      return nullptr;
    }
  }
  if (*p == '0') {
    ++p;
  } else if (*p >= '1' && *p <= '9') {
    p = skip_digits(p + 1, end);
  } else {
    return nullptr;
  }
  if (p < end && *p == '.') {
    if (++p == end || !is_digit(*p)) {
      return nullptr;
    }
    p = skip_digits(p + 1, end);
  }
  if (p < end && (*p == 'e' || *p == 'E')) {
    ++p;
    if (p < end && (*p == '+' || *p == '-')) {
      ++p;
    }
    if (p == end || !is_digit(*p)) {
      return nullptr;
    }
    p = skip_digits(p + 1, end);
  }
  return p;
}

inline bool atom_in_text(const char* text, std::size_t length, std::size_t position) noexcept {
  const char* p = text + position;
  const char* const end = text + length;
  switch (*p) {
    case 't':
      p = match_word(p, end, "true", 4);
      break;
    case 'f':
      p = match_word(p, end, "false", 5);
      break;
    case 'n':
      p = match_word(p, end, "null", 4);
      break;
    default:
      p = match_number(p, end);
      break;
  }
  if (p == nullptr) {
    return false;
  }
  if (p == end) {
    return true;
  }
  switch (*p) {
    case ' ':
    case '\t':
    case '\n':
    case '\r':
    case ',':
    case ']':
    case '}':
      return true;
    default:
      return false;
  }
}

// The shape of every number and literal that lies wholly in the block, checked at once on the bit masks: a
// document full of numbers then costs no branch per number. `local` holds the bytes of those atoms and `starts`
// their first bytes; the atoms that run into the neighbouring blocks are left out of both. A literal must be one of
// the three words followed by a byte that is not part of an atom; every other atom must be a number, which holds
// exactly when each of its bytes may follow the byte before it ("-" only first or after the exponent letter, "+"
// only after it, "." and the exponent letter between digits, a digit after a sign) and it has at most one "." and
// one exponent, the "." first, and no digit right after a leading zero.
inline bool atoms_well_formed(const JsonBlockMasks& m, std::uint64_t local, std::uint64_t starts) noexcept {
  const std::uint64_t after_atom = ~local;
  const std::uint64_t word_true = starts & m.t & (m.r >> 1) & (m.u >> 2) & (m.e >> 3) & (after_atom >> 4);
  const std::uint64_t word_null = starts & m.n & (m.u >> 1) & (m.l >> 2) & (m.l >> 3) & (after_atom >> 4);
  const std::uint64_t word_false = starts & m.f & (m.a >> 1) & (m.l >> 2) & (m.s >> 3) & (m.e >> 4) & (after_atom >> 5);
  const std::uint64_t four = word_true | word_null;
  const std::uint64_t words = four | (four << 1) | (four << 2) | (four << 3) | word_false | (word_false << 1) |
                              (word_false << 2) | (word_false << 3) | (word_false << 4);

  const std::uint64_t number = local & ~words;
  const std::uint64_t first = starts & ~(four | word_false);
  const std::uint64_t digit = m.digit & number;
  const std::uint64_t minus = m.minus & number;
  const std::uint64_t plus = m.plus & number;
  const std::uint64_t point = m.point & number;
  const std::uint64_t exponent = m.exponent & number;
  const std::uint64_t sign = minus | plus;

  std::uint64_t bad = number & ~(digit | sign | point | exponent);
  bad |= first & ~(minus | digit);
  bad |= minus & ~(first | (exponent << 1));
  bad |= plus & ~(exponent << 1);
  bad |= (sign << 1) & ~digit;
  bad |= (point | exponent) & ~(digit << 1);
  bad |= (point << 1) & ~digit;
  bad |= (exponent << 1) & ~(digit | sign);
  // Adding a mark to its run of atom bytes clears the run from the mark on; a second mark in the run is left set.
  const std::uint64_t from_point = number & ~(number + point);
  const std::uint64_t from_exponent = number & ~(number + exponent);
  bad |= point & ~from_point;
  bad |= exponent & ~from_exponent;
  bad |= point & from_exponent;
  const std::uint64_t integer_start = (first & digit) | ((first & minus) << 1);
  bad |= ((integer_start & m.zero) << 1) & digit;
  return bad == 0;
}

// The grammar over the tokens, and the escapes inside strings. Positions are offsets into the whole text.
class JsonDocumentChecker {
 public:
  JsonDocumentChecker(const char* text, std::size_t length) noexcept : text_(text), length_(length) {}

  // The next token starts with byte `c`: a structural byte, an opening quote, or the first byte of a number or
  // literal whose shape has been checked already.
  bool token(char c) noexcept {
    switch (expect_) {
      case Expect::Value:
      case Expect::ValueOrArrayEnd:
        switch (c) {
          case '{':
            return open(true);
          case '[':
            return open(false);
          case '"':
            after_value();
            return true;
          case ']':
            return expect_ == Expect::ValueOrArrayEnd && close();
          case '}':
          case ',':
          case ':':
            return false;
          default:
            after_value();
            return true;
        }
      case Expect::KeyOrObjectEnd:
        if (c == '}') {
          return close();
        }
        [[fallthrough]];
      case Expect::Key:
        if (c != '"') {
          return false;
        }
        expect_ = Expect::Colon;
        return true;
      case Expect::Colon:
        if (c != ':') {
          return false;
        }
        expect_ = Expect::Value;
        return true;
      case Expect::CommaOrObjectEnd:
        if (c == ',') {
          expect_ = Expect::Key;
          return true;
        }
        return c == '}' && close();
      case Expect::CommaOrArrayEnd:
        if (c == ',') {
          expect_ = Expect::Value;
          return true;
        }
        return c == ']' && close();
      case Expect::Nothing:
        break;
    }
    return false;
  }

  // The grammar over a list of tokens, each given by the position of its first byte (`base` + the entry), numbers and
  // literals read where they start: what token() does token by token, with the state kept as the place in this
  // walk instead of a variable (each label is named after what the next token may be), so a token costs a few
  // compares and no jump through a table. False at the first token the grammar refuses; true when the list is used
  // up, the state kept for the next list.
  bool tokens(const std::uint16_t* list, std::size_t count, std::size_t base) noexcept {
    const std::uint16_t* next = list;
    const std::uint16_t* const end = list + count;
    std::size_t depth = depth_;  // in a register: the container stack's stores could otherwise alias it
    std::size_t position = 0;
    const auto suspend = [this, &depth](Expect state) {
      expect_ = state;
      depth_ = depth;
      return true;
    };
    switch (expect_) {
      case Expect::Value:
        goto value;
      case Expect::ValueOrArrayEnd:
        goto value_or_array_end;
      case Expect::KeyOrObjectEnd:
        goto key_or_object_end;
      case Expect::Key:
        goto key;
      case Expect::Colon:
        goto colon;
      case Expect::CommaOrObjectEnd:
        goto comma_or_object_end;
      case Expect::CommaOrArrayEnd:
        goto comma_or_array_end;
      case Expect::Nothing:
        goto nothing;
    }
    return false;

  value_or_array_end:
    if (next == end) {
      return suspend(Expect::ValueOrArrayEnd);
    }
    position = base + *next++;
    if (text_[position] == ']') {
      --depth;
      goto after_value;
    }
    goto value_at_position;
  value:
    if (next == end) {
      return suspend(Expect::Value);
    }
    position = base + *next++;
  value_at_position:
    switch (text_[position]) {
      case '{':
        if (!push(depth, true)) {
          return false;
        }
        goto key_or_object_end;
      case '[':
        if (!push(depth, false)) {
          return false;
        }
        goto value_or_array_end;
      case '"':
        goto after_value;
      case ']':
      case '}':
      case ',':
      case ':':
        return false;
      default:
        if (!atom_in_text(text_, length_, position)) {
          return false;
        }
        goto after_value;
    }
  key_or_object_end:
    if (next == end) {
      return suspend(Expect::KeyOrObjectEnd);
    }
    position = base + *next++;
    if (text_[position] == '}') {
      --depth;
      goto after_value;
    }
    if (text_[position] != '"') {
      return false;
    }
    goto colon;
  key:
    if (next == end) {
      return suspend(Expect::Key);
    }
    position = base + *next++;
    if (text_[position] != '"') {
      return false;
    }
  colon:
    if (next == end) {
      return suspend(Expect::Colon);
    }
    position = base + *next++;
    if (text_[position] != ':') {
      return false;
    }
    goto value;
  comma_or_object_end:
    if (next == end) {
      return suspend(Expect::CommaOrObjectEnd);
    }
    position = base + *next++;
    if (text_[position] == ',') {
      goto key;
    }
    if (text_[position] != '}') {
      return false;
    }
    --depth;
    goto after_value;
  comma_or_array_end:
    if (next == end) {
      return suspend(Expect::CommaOrArrayEnd);
    }
    position = base + *next++;
    if (text_[position] == ',') {
      goto value;
    }
    if (text_[position] != ']') {
      return false;
    }
    --depth;
    goto after_value;
  after_value:
    if (depth == 0) {
      goto nothing;
    }
    if (innermost_is_object(depth)) {
      goto comma_or_object_end;
    }
    goto comma_or_array_end;
  nothing:
    return next == end && suspend(Expect::Nothing);
  }

  // The byte at `position` follows an odd run of backslashes: it must name an escape, and a \u escape must hold a
  // code unit that is not half of a broken surrogate pair.
  bool escape(std::size_t position) noexcept {
    if (position >= length_) {
      return false;
    }
    switch (text_[position]) {
      case '"':
      case '/':
      case 'b':
      case 'f':
      case 'n':
      case 'r':
      case 't':
        return true;
      case 'u':
        break;
      default:
        return false;
    }
    if (position == low_surrogate_at_) {
      return true;  // checked together with its high half
    }
    unsigned unit = 0;
    if (!code_unit(position + 1, unit)) {
      return false;
    }
    if (unit >= 0xDC00 && unit <= 0xDFFF) {
      return false;
    }
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      unsigned low = 0;
      if (position + 11 > length_ || text_[position + 5] != '\\' || text_[position + 6] != 'u' ||
          !code_unit(position + 7, low) || low < 0xDC00 || low > 0xDFFF) {
        return false;
      }
      low_surrogate_at_ = position + 6;
    }
    return true;
  }

  [[nodiscard]] bool complete() const noexcept { return expect_ == Expect::Nothing; }

 private:
  enum class Expect : std::uint8_t {
    Value,
    ValueOrArrayEnd,
    KeyOrObjectEnd,
    Key,
    Colon,
    CommaOrObjectEnd,
    CommaOrArrayEnd,
    Nothing,
  };

  // Deeper documents are left to the scalar scanner, which has no limit.
  static constexpr std::size_t kMaxDepth = 1024;
  static_assert(kMaxDepth % 64 == 0, "the container stack is whole 64-bit words");

  bool open(bool object) noexcept {
    if (!push(depth_, object)) {
      return false;
    }
    expect_ = object ? Expect::KeyOrObjectEnd : Expect::ValueOrArrayEnd;
    return true;
  }

  // Whether the innermost of `depth` (at least one) open containers is an object.
  [[nodiscard]] bool innermost_is_object(std::size_t depth) const noexcept {
    const std::size_t level = depth - 1;
    return ((objects_[level / 64] >> (level % 64)) & 1u) != 0;
  }

  // Enters a container `depth` deep, an object or an array; false when that is deeper than tracked.
  bool push(std::size_t& depth, bool object) noexcept {
    if (depth == kMaxDepth) {
      return false;
    }
    const std::uint64_t bit = std::uint64_t{1} << (depth % 64);
    std::uint64_t& word = objects_[depth / 64];
    word = object ? word | bit : word & ~bit;
    ++depth;
    return true;
  }

  // Only reached in a state that belongs to the innermost container, so the closing byte matches it.
  bool close() noexcept {
    --depth_;
    after_value();
    return true;
  }

  void after_value() noexcept {
    if (depth_ == 0) {
      expect_ = Expect::Nothing;
    } else {
      expect_ = innermost_is_object(depth_) ? Expect::CommaOrObjectEnd : Expect::CommaOrArrayEnd;
    }
  }

  bool code_unit(std::size_t position, unsigned& unit) const noexcept {
    if (position + 4 > length_) {
      return false;
    }
    unit = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      const int digit = hex_value(text_[position + i]);
      if (digit < 0) {
        return false;
      }
      unit = unit * 16 + static_cast<unsigned>(digit);
    }
    return true;
  }

  const char* text_;
  std::size_t length_;
  Expect expect_ = Expect::Value;
  std::size_t depth_ = 0;
  std::size_t low_surrogate_at_ = static_cast<std::size_t>(-1);
  // One bit per open container, set for an object.
  std::uint64_t objects_[kMaxDepth / 64] = {};
};

// The packed output is staged in a buffer of this size on the stack and appended to the caller's string a piece at
// a time. Measured: 1 KiB pieces keep a 16 MiB output a quarter cheaper than 4 KiB ones (which cost as much as the
// rest of the minifier's work on UTF-8-heavy text); 512 bytes gains nothing more.
constexpr std::size_t kJsonOutputStageSize = 1024;

// Both passes start on a cache line, so that their loops lie the same way in every program that links them: measured,
// where the linker happened to put them moved their speed by up to a tenth from one program to the next.
template <class Block>
__attribute__((aligned(64))) bool minify_json_blocks(const char* text, std::size_t length, std::string& out) {
  // The packed output collects here and goes to `out` in pieces; the slack takes a Block's full-width store.
  constexpr std::size_t kStageSize = kJsonOutputStageSize;
  char stage[kStageSize + 64];
  std::size_t staged = 0;
  char last[64];

  JsonDocumentChecker checker(text, length);
  std::uint64_t odd_run = 0;
  std::uint64_t in_string = 0;  // all ones while a string continues into the next block
  std::uint64_t atom_carry = 0;
  for (std::size_t base = 0; base < length; base += 64) {
    const char* bytes = text + base;
    std::uint64_t present = ~std::uint64_t{0};
    if (length - base < 64) {
      // The last, partial block is padded with whitespace, which changes neither tokens nor output.
      const std::size_t left = length - base;
      std::memcpy(last, bytes, left);
      std::memset(last + left, ' ', sizeof(last) - left);
      bytes = last;
      present = (std::uint64_t{1} << left) - 1;
    }
    const Block block(bytes);
    JsonBlockMasks m = block.masks();

    // Inside a long string (prose in any script), a block without a quote, a backslash or a control byte is
    // string content from end to end: it is copied whole, with nothing to check.
    if (in_string != 0 && odd_run == 0 && (m.quote | m.backslash | m.control) == 0) {
      staged = static_cast<std::size_t>(block.compress(present, stage + staged) - stage);
      if (staged >= kStageSize) {
        append_json_output(out, stage, staged);
        staged = 0;
      }
      continue;
    }

    const std::uint64_t escaped = escaped_bytes(m.backslash, odd_run);
    const std::uint64_t quotes = m.quote & ~escaped;
    const std::uint64_t in_strings = Block::prefix_xor(quotes) ^ in_string;
    in_string = std::uint64_t{0} - (in_strings >> 63);
    const std::uint64_t blank = m.whitespace & ~in_strings;
    // A control byte is only ever allowed as whitespace between tokens.
    if ((m.control & ~blank) != 0) {
      return false;
    }
    const std::uint64_t atoms = ~(m.whitespace | m.structural | m.quote | in_strings);
    const std::uint64_t atom_starts = atoms & ~((atoms << 1) | atom_carry);
    // An atom that continues from the previous block was judged there, from its start; one that reaches this
    // block's last byte is judged from its start against the whole text.
    const std::uint64_t continued = (atoms & ~(atoms + 1)) & (std::uint64_t{0} - atom_carry);
    const std::uint64_t not_atoms = ~atoms;
    const std::uint64_t to_next =
        (atoms >> 63) == 0
            ? 0
            : (not_atoms == 0 ? ~std::uint64_t{0} : ~std::uint64_t{0} << (64 - __builtin_clzll(not_atoms)));
    atom_carry = atoms >> 63;
    // Several numbers or literals in the block are checked at once on the bit masks, without a branch per byte;
    // a single one is read where it starts, which costs less than classifying the block for it.
    const std::uint64_t local = atoms & ~(continued | to_next);
    const std::uint64_t local_starts = atom_starts & ~to_next;
    if ((local_starts & (local_starts - 1)) != 0) {
      block.atom_masks(m);
      if (!atoms_well_formed(m, local, local_starts)) {
        return false;
      }
    } else if (local_starts != 0 && !atom_in_text(text, length, base + lowest_set_bit(local_starts))) {
      return false;
    }
    if (const std::uint64_t edge = atom_starts & to_next;
        edge != 0 && !atom_in_text(text, length, base + lowest_set_bit(edge))) {
      return false;
    }

    for (std::uint64_t bits = escaped; bits != 0; bits &= bits - 1) {
      if (!checker.escape(base + lowest_set_bit(bits))) {
        return false;
      }
    }
    for (std::uint64_t bits = (m.structural & ~in_strings) | (quotes & in_strings) | atom_starts; bits != 0;
         bits &= bits - 1) {
      if (!checker.token(bytes[lowest_set_bit(bits)])) {
        return false;
      }
    }

    staged = static_cast<std::size_t>(block.compress(~blank & present, stage + staged) - stage);
    if (staged >= kStageSize) {
      append_json_output(out, stage, staged);
      staged = 0;
    }
  }
  if (in_string != 0 || !checker.complete()) {
    return false;
  }
  append_json_output(out, stage, staged);
  return true;
}

// The two-stage form. Stage one runs every 64-byte block of a chunk the same way, whatever the text holds: the
// masks, the escapes and the strings carried across blocks, the kept bytes packed to the output, and the positions
// of the tokens' first bytes (and of the \u escapes) appended to an index, all without a branch that depends on the
// text. Stage two then walks the index against the grammar, reading each number, literal and \u escape where it
// starts. Working a chunk at a time keeps the index and the chunk's text in the nearest caches between the stages.
//
// The index is a fixed buffer on the caller's stack (the call allocates nothing beyond its output); a chunk ends
// early when fewer than a block's worth of free entries are left, so no block ever overflows it.
constexpr std::size_t kIndexedChunkBytes = std::size_t{64} << 10;
constexpr std::size_t kTokenIndexCapacity = 4096;

// The escapes of a block, checked on its masks alone: every escaped byte names one of the escapes, every \u is
// followed by four hexadecimal digits, and every high surrogate's \u escape is followed right away by a low
// surrogate's, and every low one preceded by a high one. The bytes an escape needs may lie in the next block, so
// what a block's last escapes still require is carried over, packed in one word so that a block can tell at a glance
// that nothing is pending.
class EscapeCarry {
 public:
  // Non-zero while the last block's escapes still need bytes of the next one.
  [[nodiscard]] std::uint64_t pending() const noexcept { return bits_; }
  // A high surrogate at the very end of the last block still waits for its low half.
  [[nodiscard]] bool low_half_pending() const noexcept { return (bits_ >> kLowNeededShift) != 0; }

  // `lower` holds the block's bytes with bit 0x20 set (which makes A-F a-f; the other bytes it turns into digits
  // are control bytes, refused anyway). Returns the bits of the escapes it refuses.
  template <class Block>
  std::uint64_t refused(const Block& block, const typename Block::Bytes& lower, std::uint64_t escaped,
                        std::uint64_t quote) noexcept {
    const std::uint64_t u = block.equal('u');
    const std::uint64_t letters = quote | u | block.equal('/') | block.equal('b') | block.equal('f') |
                                  block.equal('n') | block.equal('r') | block.equal('t');
    const std::uint64_t unicode = escaped & u;
    const std::uint64_t hex = Block::in_range(lower, '0', '9') | Block::in_range(lower, 'a', 'f');
    const std::uint64_t hex_needed =
        (unicode << 1) | (unicode << 2) | (unicode << 3) | (unicode << 4) | (bits_ & kHexNeededBits);
    // The first digit D starts a surrogate; the second says which half.
    const std::uint64_t surrogate = ((unicode << 1) | ((bits_ >> kUnicodeShift) & 1)) & Block::equal_in(lower, 'd');
    const std::uint64_t second = (surrogate << 1) | ((bits_ >> kSurrogateShift) & 1);
    const std::uint64_t high = second & (Block::in_range(lower, '8', '9') | Block::in_range(lower, 'a', 'b'));
    const std::uint64_t low = second & Block::in_range(lower, 'c', 'f');
    const std::uint64_t low_needed = (high << 6) | (bits_ >> kLowNeededShift);
    bits_ = ((unicode >> 63) | (unicode >> 62) | (unicode >> 61) | (unicode >> 60)) |
            ((unicode >> 63) << kUnicodeShift) | ((surrogate >> 63) << kSurrogateShift) |
            ((high >> 58) << kLowNeededShift);
    return (escaped & ~letters) | (hex_needed & ~hex) | (low_needed ^ low);
  }

 private:
  // Bits 0-3: bits of the next block that must be hexadecimal digits. Bit 8: an escaped u as the last byte of the
  // block. Bit 16: a "\uD" as the last bytes of the block, whose next digit says which half. Bits 24-29: bits of the
  // next block where a low surrogate's second digit must stand.
  static constexpr std::uint64_t kHexNeededBits = 0xF;
  static constexpr unsigned kUnicodeShift = 8;
  static constexpr unsigned kSurrogateShift = 16;
  static constexpr unsigned kLowNeededShift = 24;

  std::uint64_t bits_ = 0;
};

// On a cache line, as minify_json_blocks.
template <class Block>
__attribute__((aligned(64))) bool minify_json_indexed(const char* text, std::size_t length, std::string& out) {
  constexpr std::size_t kStageSize = kJsonOutputStageSize;
  char stage[kStageSize + 64];
  std::size_t staged = 0;
  char last[64];
  // Positions relative to the chunk's first byte; a chunk is at most 64 KiB.
  static_assert(kIndexedChunkBytes <= 65536, "positions in a chunk fit 16 bits");
  std::uint16_t tokens[kTokenIndexCapacity + 64];

  JsonDocumentChecker checker(text, length);
  std::uint64_t odd_run = 0;
  std::uint64_t in_string = 0;  // all ones while a string continues into the next block
  std::uint64_t atom_carry = 0;
  EscapeCarry escape_carry;
  std::uint64_t refused = 0;  // any bit set: a byte the masks alone refuse

  std::size_t base = 0;
  while (base < length) {
    const std::size_t chunk = base;
    const std::size_t chunk_end = length - chunk > kIndexedChunkBytes ? chunk + kIndexedChunkBytes : length;
    std::size_t token_count = 0;

    // Stage one.
    while (base < chunk_end && token_count <= kTokenIndexCapacity - 64) {
      const char* bytes = text + base;
      std::uint64_t present = ~std::uint64_t{0};
      // Written out here as in minify_json_blocks: the same steps through shared helpers measured 5 to 10 percent
      // slower in this loop.
      if (chunk_end - base < 64) {
        // Only the text's last block is partial; it is padded with whitespace, which changes neither tokens nor
        // output.
        const std::size_t left = chunk_end - base;
        std::memcpy(last, bytes, left);
        std::memset(last + left, ' ', sizeof(last) - left);
        bytes = last;
        present = (std::uint64_t{1} << left) - 1;
      }
      const Block block(bytes);
      const JsonBlockMasks m = block.masks();
      // Most blocks hold no backslash, follow none and owe no escape bytes: their escape work is skipped.
      std::uint64_t escaped = 0;
      if ((m.backslash | odd_run | escape_carry.pending()) != 0) {
        escaped = escaped_bytes(m.backslash, odd_run);
        refused |= escape_carry.refused(block, block.lower(), escaped, m.quote);
      }
      const std::uint64_t quotes = m.quote & ~escaped;
      const std::uint64_t in_strings = Block::prefix_xor(quotes) ^ in_string;
      in_string = std::uint64_t{0} - (in_strings >> 63);
      const std::uint64_t blank = m.whitespace & ~in_strings;
      // A control byte is only ever allowed as whitespace between tokens.
      refused |= m.control & ~blank;

      const std::uint64_t atoms = ~(m.whitespace | m.structural | m.quote | in_strings);
      const std::uint64_t atom_starts = atoms & ~((atoms << 1) | atom_carry);
      atom_carry = atoms >> 63;
      token_count += Block::append_positions(tokens + token_count, static_cast<std::uint16_t>(base - chunk),
                                             (m.structural & ~in_strings) | (quotes & in_strings) | atom_starts);

      staged = static_cast<std::size_t>(block.compress(~blank & present, stage + staged) - stage);
      if (staged >= kStageSize) {
        append_json_output(out, stage, staged);
        staged = 0;
      }
      base += 64;
    }
    base = base < chunk_end ? base : chunk_end;
    if (refused != 0) {
      return false;
    }

    // Stage two.
    if (!checker.tokens(tokens, token_count, chunk)) {
      return false;
    }
  }
  // A high surrogate at the very end still waits for its low half.
  if (in_string != 0 || escape_carry.low_half_pending() || !checker.complete()) {
    return false;
  }
  append_json_output(out, stage, staged);
  return true;
}

}  // namespace
