// What the runner and dialog tests share: a host of five images, a runner that does not hold its
// end back and logs in memory, and rules made of given elements.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "batch/batch_runner.h"
#include "com/com_error.h"
#include "platform/fake/memory_event_trace_sink.h"
#include "support/fake_elements.h"
#include "support/fake_host.h"

namespace lmk::test {

inline std::shared_ptr<CRule> Rule(std::vector<std::shared_ptr<CAction>> actions,
                                   std::vector<std::shared_ptr<CCondition>> conditions = {}) {
  auto rule = std::make_shared<CRule>(L"rule");
  for (auto& condition : conditions) rule->AddCondition(std::move(condition));
  for (auto& action : actions) rule->AddAction(std::move(action));
  return rule;
}

inline ComPtr<IStream> NewStream() {
  ComPtr<IStream> stream;
  stream.Attach(SHCreateMemStream(nullptr, 0));
  if (!stream) throw ComError(E_OUTOFMEMORY);
  return stream;
}

class BatchFixture : public ::testing::Test {
 protected:
  explicit BatchFixture(ULONG images = 5) : host_(MakeComObject<FakeRunHost>(images)) {}

  // A runner whose log lands in events_ and for which the files in missing_ do not exist.
  std::unique_ptr<CBatchRunner> QuickRunner(unsigned threads = 1) {
    auto sink = std::make_unique<fake::MemoryEventTraceSink>();
    events_ = sink.get();
    BatchRunnerOptions options;
    options.minimumRunTime = std::chrono::milliseconds(0);
    options.threadCount = threads;
    options.logFilePath = L"/nonexistent/lumarko-test.etl";
    options.fileExists = [this](std::wstring_view path) {
      return missing_.count(std::wstring(path)) == 0;
    };
    return std::make_unique<CBatchRunner>(std::make_unique<EventLogWriter>(std::move(sink)),
                                          std::move(options));
  }

  ComPtr<FakeRunHost> host_;
  std::set<std::wstring> missing_;
  fake::MemoryEventTraceSink* events_ = nullptr;
};

}  // namespace lmk::test
