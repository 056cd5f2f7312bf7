#include <string.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "objects/internal/PieceFilter.h"
#include "objects/internal/PieceIndex.h"

namespace {

using quarn_match::PieceFilter;
using quarn_match::PieceIndex;

const PieceFilter::Isa kIsas[] = {PieceFilter::kPortable, PieceFilter::kSsse3,
                                  PieceFilter::kAvx2};

const uint8_t* Bytes(const std::string& s) {
  return reinterpret_cast<const uint8_t*>(s.data());
}

// Bytes drawn from `alphabet`, or from all 256 values when it is empty.
std::string RandomBytes(std::mt19937* rng, size_t n,
                        const std::string& alphabet) {
  std::string s(n, '\0');
  for (char& c : s) {
    c = alphabet.empty() ? static_cast<char>((*rng)() & 0xFF)
                         : alphabet[(*rng)() % alphabet.size()];
  }
  return s;
}

// Pieces of `shortest` to 9 bytes, some of them prefixes of others, and a
// text of `alphabet` bytes with some pieces planted in it.
void RandomCase(std::mt19937* rng, const std::string& alphabet, size_t count,
                size_t shortest, std::vector<std::string>* pieces,
                std::string* text) {
  pieces->clear();
  for (size_t i = 0; i < count; ++i) {
    const size_t length = shortest + (*rng)() % (10 - shortest);
    if (i > 0 && (*rng)() % 5 == 0) {
      const std::string& other = (*pieces)[(*rng)() % i];
      pieces->push_back(other.substr(0, std::max(shortest, length / 2)));
    } else {
      pieces->push_back(RandomBytes(rng, length, alphabet));
    }
  }
  *text = RandomBytes(rng, 64 * 20 + (*rng)() % 200, alphabet);
  for (int i = 0; i < 30; ++i) {
    const std::string& piece = (*pieces)[(*rng)() % pieces->size()];
    text->replace((*rng)() % (text->size() - piece.size()), piece.size(),
                  piece);
  }
}

// Every variant gives the same candidates as the plain one, and every
// position where a piece starts is among them, wherever a block begins.
TEST(PieceFilterTest, VariantsAgreeAndKeepEveryPieceStart) {
  std::mt19937 rng(41);
  const std::string alphabets[] = {"", "ab", "abcdefghijklmnopqrstuvwxyz",
                                   std::string("\x00\x0f\xf0\xff\x80\x7f"
                                               "a",
                                               7)};
  int variants_run = 0;
  for (int round = 0; round < 60; ++round) {
    std::vector<std::string> pieces;
    std::string text;
    RandomCase(&rng, alphabets[round % 4], 1 + rng() % 300, 1, &pieces, &text);
    PieceFilter filter;
    for (const std::string& piece : pieces) {
      filter.Add(Bytes(piece), piece.size());
    }
    const size_t last = text.size() - PieceFilter::kBlockBytes;
    for (size_t pos = 0; pos <= last; pos += 1 + rng() % 40) {
      const uint8_t* at = Bytes(text) + pos;
      const uint64_t plain = filter.BlockWith(PieceFilter::kPortable, at);
      for (PieceFilter::Isa isa : kIsas) {
        if (!PieceFilter::Supported(isa)) continue;
        ++variants_run;
        ASSERT_EQ(plain, filter.BlockWith(isa, at))
            << "variant " << isa << ", round " << round << ", at " << pos;
      }
      ASSERT_EQ(plain, filter.Block(at));
      for (int i = 0; i < PieceFilter::kBlock; ++i) {
        for (const std::string& piece : pieces) {
          if (text.compare(pos + i, piece.size(), piece) != 0) continue;
          ASSERT_TRUE(plain >> i & 1)
              << "piece dropped, round " << round << ", at " << pos + i;
        }
      }
    }
  }
  EXPECT_GT(variants_run, 0);
}

// The filter rejects bytes no piece holds, in every variant; an empty or
// cleared filter rejects everything; a one-byte piece passes only windows
// starting with a byte whose halves both occur in one-byte pieces.
TEST(PieceFilterTest, RejectsWhatNoPieceHolds) {
  std::mt19937 rng(7);
  std::string letters = RandomBytes(&rng, 200, "abcdefghijklmnopqrstuvwxyz");
  std::string gbk;
  while (gbk.size() < 200) {
    gbk += static_cast<char>(0xB0 + rng() % 0x48);
    gbk += static_cast<char>(0xA1 + rng() % 0x5E);
  }
  PieceFilter filter;
  for (PieceFilter::Isa isa : kIsas) {
    if (!PieceFilter::Supported(isa)) continue;
    EXPECT_EQ(0u, filter.BlockWith(isa, Bytes(letters))) << isa;
  }
  for (int i = 0; i < 500; ++i) {
    std::string word = RandomBytes(&rng, 2 + rng() % 8, "abcdefghijklm");
    filter.Add(Bytes(word), word.size());
  }
  filter.Add(Bytes("z"), 1);
  for (PieceFilter::Isa isa : kIsas) {
    if (!PieceFilter::Supported(isa)) continue;
    EXPECT_EQ(0u, filter.BlockWith(isa, Bytes(gbk))) << isa;
    // No piece starts with "n" to "y"; the one-byte piece "z" passes
    // wherever it stands.
    const std::string later_letters = RandomBytes(&rng, 100, "nopqrstuvwxy");
    EXPECT_EQ(0u, filter.BlockWith(isa, Bytes(later_letters))) << isa;
    std::string one = later_letters;
    one[5] = 'z';
    EXPECT_EQ(uint64_t{1} << 5, filter.BlockWith(isa, Bytes(one))) << isa;
  }
  filter.Clear();
  EXPECT_EQ(0u, filter.Block(Bytes(letters)));
  EXPECT_FALSE(filter.MayHold(0, 'a'));
}

// StartBlock() tests each position against the sets it is given, in every
// variant, whichever sets are left out, for four-byte sets of every size
// the index uses.
TEST(PieceFilterTest, StartBlockTestsEachSet) {
  std::mt19937 rng(31);
  // Sparse random bits, so that both answers occur.
  auto random_bits = [&](size_t bits) {
    std::vector<uint64_t> words(bits / 64);
    for (uint64_t& word : words) word = rng() & rng() & rng() & rng();
    return words;
  };
  const std::vector<uint64_t> one = random_bits(256);
  const std::vector<uint64_t> pair = random_bits(65536);
  const std::vector<uint64_t> triple =
      random_bits(size_t{1} << PieceFilter::kTripleBits);
  const int shifts[] = {13, 15, 17};
  std::vector<std::vector<uint64_t>> quads;
  for (int shift : shifts)
    quads.push_back(random_bits(size_t{1} << (32 - shift)));
  auto has = [](const std::vector<uint64_t>& bits, uint32_t at) {
    return (bits[at / 64] >> (at % 64) & 1) != 0;
  };
  for (int round = 0; round < 96; ++round) {
    const int quad_shift = shifts[round % 3];
    const std::vector<uint64_t>& quad = quads[round % 3];
    const bool with_one = round & 1, with_pair = round & 2,
               with_triple = round & 4;
    const PieceFilter::StartSets sets{
        with_one ? one.data() : nullptr, with_pair ? pair.data() : nullptr,
        with_triple ? triple.data() : nullptr, quad.data(), quad_shift};
    const std::string text = RandomBytes(&rng, PieceFilter::kHashBlockBytes,
                                         round % 16 < 8 ? "abcdef" : "");
    uint64_t want = 0;
    for (int i = 0; i < PieceFilter::kBlock; ++i) {
      uint32_t word;
      memcpy(&word, text.data() + i, sizeof(word));
      const uint32_t h = PieceFilter::kHashFactor;
      bool hit = has(quad, (word * h) >> quad_shift);
      hit |= with_one && has(one, word & 0xFF);
      hit |= with_pair && has(pair, word & 0xFFFF);
      hit |= with_triple && has(triple, ((word & 0xFFFFFF) * h) >>
                                            (32 - PieceFilter::kTripleBits));
      if (hit) want |= uint64_t{1} << i;
    }
    for (PieceFilter::Isa isa : kIsas) {
      if (!PieceFilter::Supported(isa)) continue;
      EXPECT_EQ(want, PieceFilter::StartBlock(isa, Bytes(text), sets))
          << "variant " << isa << ", round " << round;
    }
  }
}

// One hit of a scan: the position and, per run, the length and the refs.
struct Hit {
  uint64_t pos;
  std::vector<std::pair<uint32_t, std::vector<uint32_t>>> runs;
  bool operator==(const Hit& o) const { return pos == o.pos && runs == o.runs; }
};

std::vector<Hit> ScanAll(PieceIndex* index, const std::string& text,
                         uint64_t positions, size_t stop_after) {
  std::vector<Hit> hits;
  index->Scan(Bytes(text), text.size(), positions,
              [&](uint64_t pos, PieceIndex::Run* runs, size_t count) {
                Hit hit{pos, {}};
                for (size_t i = 0; i < count; ++i) {
                  // Refs are added with their own number as the tag, and
                  // odd ones marked.
                  const PieceIndex::Summary summary = index->SummaryOf(runs[i]);
                  uint64_t tags = 0;
                  bool marked = false;
                  std::vector<uint32_t> refs;
                  PieceIndex::Run one = runs[i];
                  index->ForEachRef(&one, 1, [&](uint32_t ref) {
                    refs.push_back(ref);
                    tags |= ref;
                    marked |= (ref & 1) != 0;
                    return true;
                  });
                  EXPECT_EQ(tags, summary.tags);
                  EXPECT_EQ(refs.size(), summary.refs);
                  EXPECT_EQ(refs.front(), summary.newest);
                  EXPECT_EQ(marked, summary.marked != 0);
                  hit.runs.emplace_back(runs[i].length, refs);
                }
                hits.push_back(hit);
                return hits.size() < stop_after;
              });
  return hits;
}

// What a scan must find: at each position, the pieces the text starts
// with there, shortest first, each with its refs newest first.
std::vector<Hit> ScanByHand(const std::vector<std::string>& pieces,
                            const std::string& text, uint64_t positions,
                            size_t stop_after) {
  std::vector<Hit> hits;
  for (uint64_t pos = 0; pos < positions && hits.size() < stop_after; ++pos) {
    Hit hit{pos, {}};
    for (uint32_t length = 1; length <= text.size() - pos; ++length) {
      std::vector<uint32_t> refs;
      for (uint32_t ref = pieces.size(); ref-- > 0;) {
        if (pieces[ref].size() == length &&
            text.compare(pos, length, pieces[ref]) == 0) {
          refs.push_back(ref);
        }
      }
      if (!refs.empty()) hit.runs.emplace_back(length, refs);
    }
    if (!hit.runs.empty()) hits.push_back(hit);
  }
  return hits;
}

// A scan finds what a position-by-position search finds, with each
// variant of the filters (and with none), for texts shorter and longer
// than a block, for every limit on the positions, and stops where the
// caller stops it.
TEST(PieceFilterTest, ScanFindsEveryPieceInOrder) {
  std::mt19937 rng(1234);
  const std::string alphabets[] = {"abc", "abcdefghijklmnop", ""};
  for (int round = 0; round < 150; ++round) {
    std::vector<std::string> pieces;
    std::string text;
    // Every fourth round has no piece under four bytes, so that only the
    // hash of four bytes decides which positions a block keeps.
    RandomCase(&rng, alphabets[round % 3], 1 + rng() % 60,
               round % 4 == 3 ? 4 : 1, &pieces, &text);
    // Lengths around the block size and the filter's window.
    const size_t lengths[] = {1,  3,  4,  5,   63,  64,
                              66, 67, 68, 130, 131, text.size()};
    text.resize(lengths[round % 12]);
    for (PieceFilter::Isa isa : kIsas) {
      if (!PieceFilter::Supported(isa)) continue;
      PieceIndex index(isa);
      uint64_t bytes = 0;
      for (const std::string& piece : pieces) bytes += piece.size();
      ASSERT_TRUE(index.Reserve(pieces.size(), bytes));
      for (uint32_t ref = 0; ref < pieces.size(); ++ref) {
        index.Add(Bytes(pieces[ref]), pieces[ref].size(), ref, ref,
                  (ref & 1) != 0);
      }
      const uint64_t limits[] = {text.size(), text.size() / 2,
                                 text.size() > 3 ? text.size() - 3 : 0};
      for (uint64_t positions : limits) {
        const size_t stop = round % 5 == 0 ? 3 : SIZE_MAX;
        ASSERT_EQ(ScanByHand(pieces, text, positions, stop),
                  ScanAll(&index, text, positions, stop))
            << "variant " << isa << ", round " << round << ", " << positions
            << " of " << text.size();
      }
    }
  }
}

}  // namespace
