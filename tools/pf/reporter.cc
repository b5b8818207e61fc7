#include "reporter.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "signals.h"

namespace pftool {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kBarDelay = std::chrono::milliseconds(500);
constexpr auto kRefresh = std::chrono::milliseconds(100);
constexpr int kAbortEveryRows = 64;

ProgressStyle Resolve(ProgressStyle style) {
  if (style != ProgressStyle::kAuto) return style;
  return ::isatty(STDERR_FILENO) ? ProgressStyle::kBar : ProgressStyle::kNone;
}

void PrintJsonLine(const nlohmann::json& value) {
  fmt::print(stderr, "{}\n", value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

}  // namespace

Reporter::Reporter(ProgressStyle style)
    : style_(Resolve(style)),
      info_{reinterpret_cast<std::uintptr_t>(this), &Reporter::OnAbort, &Reporter::OnProgress},
      start_(Clock::now()),
      last_(start_) {}

Reporter::~Reporter() { ClearBar(); }

void Reporter::Begin(std::size_t pictures) {
  pictures_ = pictures;
  picture_ = 0;
}

void Reporter::Picture(const std::string& name) {
  StopIfSignalled();
  ++picture_;
  name_ = name;
}

void Reporter::Stage(const std::string& name, double from, double to) {
  stage_ = name;
  from_ = from;
  to_ = to;
  call_rows_ = 0;
  if (style_ == ProgressStyle::kPlain) {
    fmt::print(stderr, "pf: {} of {} {}: {}\n", picture_, pictures_, name_, stage_);
  }
  if (style_ == ProgressStyle::kJson) ShowJson(from_);
  StopIfSignalled();
}

void Reporter::Rows(std::int64_t done, std::int64_t total) {
  StopIfSignalled();
  Show(total > 0 ? static_cast<double>(done) / static_cast<double>(total) : 1.0);
}

void Reporter::Note(const std::string& text) {
  if (!said_.insert(text).second) return;
  ClearBar();
  if (style_ == ProgressStyle::kJson) {
    PrintJsonLine({{"event", "note"}, {"text", text}});
  } else {
    fmt::print(stderr, "pf: {}\n", text);
  }
}

const PF_ProgressInfo* Reporter::Info(std::int64_t total_rows) {
  call_rows_ = 0;
  call_total_ = std::max<std::int64_t>(total_rows, 1);
  call_tells_rows_ = false;
  return &info_;
}

PF_Err Reporter::OnAbort(std::uint64_t reference) {
  auto* self = reinterpret_cast<Reporter*>(static_cast<std::uintptr_t>(reference));
  self->Show(static_cast<double>(self->call_rows_) / static_cast<double>(self->call_total_));
  if (!self->call_tells_rows_) self->call_rows_ = std::min(self->call_rows_ + kAbortEveryRows, self->call_total_);
  return PendingSignal() ? PF_Err_CANCELLED : PF_Err_NONE;
}

PF_Err Reporter::OnProgress(std::uint64_t reference, std::int32_t current, std::int32_t total) {
  auto* self = reinterpret_cast<Reporter*>(static_cast<std::uintptr_t>(reference));
  self->call_tells_rows_ = true;
  self->call_rows_ = current;
  self->call_total_ = std::max(total, 1);
  self->Show(total > 0 ? static_cast<double>(current) / total : 1.0);
  return PendingSignal() ? PF_Err_CANCELLED : PF_Err_NONE;
}

void Reporter::Show(double stage_fraction) {
  if (style_ != ProgressStyle::kBar && style_ != ProgressStyle::kJson) return;
  const auto now = Clock::now();
  if (now - last_ < kRefresh || now - start_ < kBarDelay) return;
  last_ = now;
  const double fraction = from_ + (to_ - from_) * std::clamp(stage_fraction, 0.0, 1.0);
  style_ == ProgressStyle::kBar ? ShowBar(fraction) : ShowJson(fraction);
}

void Reporter::ShowBar(double fraction) {
  constexpr int kWidth = 30;
  const double done = static_cast<double>(picture_ - 1) + fraction;
  const double all = pictures_ ? done / static_cast<double>(pictures_) : fraction;
  const int filled = std::clamp(static_cast<int>(all * kWidth), 0, kWidth);
  const std::string count = pictures_ > 1 ? fmt::format("{}/{} ", picture_, pictures_) : "";
  fmt::print(stderr, "\r\x1b[K[{:=<{}}{:<{}}] {:3.0f} % {}{} {}", "", filled, "", kWidth - filled, all * 100, count,
             stage_, name_);
  std::fflush(stderr);
  bar_drawn_ = true;
}

void Reporter::ClearBar() {
  if (!bar_drawn_) return;
  fmt::print(stderr, "\r\x1b[K");
  std::fflush(stderr);
  bar_drawn_ = false;
}

void Reporter::ShowJson(double fraction) {
  PrintJsonLine({{"event", "progress"},
                 {"picture", picture_},
                 {"pictures", pictures_},
                 {"name", name_},
                 {"stage", stage_},
                 {"fraction", fraction}});
}

}  // namespace pftool
