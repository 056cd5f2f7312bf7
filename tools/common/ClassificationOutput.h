// Writes a classification as one JSON object or one table row.

#ifndef QUARN_TOOLS_COMMON_CLASSIFICATIONOUTPUT_H_
#define QUARN_TOOLS_COMMON_CLASSIFICATIONOUTPUT_H_

#include <string>
#include <vector>

#include "tools/common/ConnectionClassifier.h"
#include "tools/common/Output.h"

namespace quarn_tool {

// Replaces the writer's content with the JSON object of one connection;
// with `explain`, each decision carries an "evidence" text.
void WriteClassificationJson(const ConnectionRecord& record,
                             const Classification& c, bool explain,
                             JsonWriter* json);

// The columns of the table form, and one row's cells (UTF-8).
std::vector<TableWriter::Column> ClassificationColumns();
void ClassificationCells(const ConnectionRecord& record,
                         const Classification& c, Utf8Cache* cache,
                         std::vector<std::string>* cells);

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_COMMON_CLASSIFICATIONOUTPUT_H_
