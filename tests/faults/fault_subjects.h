// Every configuration file the library loads and saves, seen through one
// shape, so that the fault tests run each fault against all of them.

#ifndef QUARN_TESTS_FAULTS_FAULT_SUBJECTS_H_
#define QUARN_TESTS_FAULTS_FAULT_SUBJECTS_H_

#include <functional>
#include <string>
#include <vector>

namespace quarn_faults {

struct Subject {
  std::string name;
  // A document the loader accepts (a file of the example configuration).
  std::string example;
  // Loads the file at a path into a new object; true on success.
  std::function<bool(const char*)> load;
  // Loads `example` into a new object and saves it to a path; true when
  // the save reported success. Null for load-only subjects.
  std::function<bool(const char*)> save;
  // The save reports success whatever the write did.
  bool save_always_succeeds = false;
};

// Every subject.
const std::vector<Subject>& AllSubjects();

// The example gateway configuration directory.
std::string ExampleDir();

}  // namespace quarn_faults

#endif  // QUARN_TESTS_FAULTS_FAULT_SUBJECTS_H_
