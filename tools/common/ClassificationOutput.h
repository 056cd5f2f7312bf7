// Writes a classification as one JSON object or one table row. The pieces
// it is made of are public too: the inspection commands write the same
// facts with them, so that a fact has one form (and one key name) in
// every command's output.

#ifndef QUARN_TOOLS_COMMON_CLASSIFICATIONOUTPUT_H_
#define QUARN_TOOLS_COMMON_CLASSIFICATIONOUTPUT_H_

#include <string>
#include <vector>

#include "tools/common/ConnectionClassifier.h"
#include "tools/common/Output.h"
#include "tools/common/PolicyStage.h"
#include "tools/common/VerdictOutput.h"

namespace quarn_tool {

// Replaces the writer's content with the JSON object of one connection,
// ending with its "verdict" (none when `verdict` is null); with `explain`,
// each decision carries an "evidence" text.
// `verdicts` writes the verdict; it may be null when `verdict` is.
void WriteClassificationJson(const ConnectionRecord& record,
                             const Classification& c,
                             const ConnectionVerdict* verdict,
                             VerdictJsonWriter* verdicts, bool explain,
                             JsonWriter* json);

// The members of that object alone, inside an object the caller opened
// (so that a caller can add members of its own after the verdict).
void WriteClassificationMembers(const ConnectionRecord& record,
                                const Classification& c,
                                const ConnectionVerdict* verdict,
                                VerdictJsonWriter* verdicts, bool explain,
                                JsonWriter* json);

// The column titles of the table form (the last is "verdict"), and one
// row's cells (UTF-8; the verdict cell empty when `verdict` is null).
std::vector<std::string> ClassificationTitles();
void ClassificationCells(const ConnectionRecord& record,
                         const Classification& c,
                         const ConnectionVerdict* verdict, Utf8Cache* cache,
                         std::vector<std::string>* cells);
// The evidence of a classification made with `explain`, one line (UTF-8)
// per decision and the verdict's lines, for the lines under its table row.
void ClassificationNotes(const Classification& c,
                         const ConnectionVerdict* verdict, Utf8Cache* cache,
                         std::vector<std::string>* notes);

// Dotted form of a host-order address, and "address:port".
std::string IpText(uint32_t ip);
std::string Endpoint(uint32_t ip, uint16_t port);

// An internet area: {"id":"0x...","name":...}.
void WriteArea(const NamedId& area, JsonWriter* json);

// [{"<id_key>":id,"name":...}...], each with its evidence when explaining.
void WriteNamedList(const std::vector<NamedId>& list, const char* id_key,
                    bool explain, JsonWriter* json);

// The keys of a URL's facts, inside an object the caller opened: "url",
// "system", "user", "type_name", "white" (and "evidence").
void WriteUrlFields(const Classification& c, bool explain, JsonWriter* json);

// "<key>":{"mask":"0x...","objects":[...]} (and "evidence" when explaining
// and not empty).
void WriteObjectSet(const char* key, uint64_t mask,
                    const std::vector<NamedId>& list, bool explain,
                    const std::string& evidence, JsonWriter* json);

// The names of `list`, comma separated, in UTF-8; "-" when empty.
std::string JoinNames(const std::vector<NamedId>& list, Utf8Cache* cache);

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_COMMON_CLASSIFICATIONOUTPUT_H_
