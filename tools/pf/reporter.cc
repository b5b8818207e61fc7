#include "reporter.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>

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

/// How fast pictures are finished, and how long the rest will take at that rate.
struct Pace {
  double pictures_per_second = 0, seconds_left = 0;
};

// Empty before the first picture of several is finished.
std::optional<Pace> PaceOf(double done, std::size_t pictures, Clock::duration passed) {
  const double seconds = std::chrono::duration<double>(passed).count();
  if (pictures == 1 || done < 1 || seconds <= 0) return std::nullopt;
  const double rate = done / seconds;
  return Pace{rate, pictures ? std::max(0.0, static_cast<double>(pictures) - done) / rate : -1};
}

std::string PaceText(const std::optional<Pace>& pace) {
  if (!pace) return "";
  std::string text = fmt::format("{:.{}f} frames/s", pace->pictures_per_second, pace->pictures_per_second < 10 ? 2 : 0);
  if (pace->seconds_left >= 0) {
    const auto left = static_cast<std::int64_t>(pace->seconds_left + 0.5);
    text += left < 3600 ? fmt::format(", {}:{:02} left", left / 60, left % 60)
                        : fmt::format(", {}:{:02}:{:02} left", left / 3600, left / 60 % 60, left % 60);
  }
  return text + " ";
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
    const std::string all = pictures_ ? fmt::format(" of {}", pictures_) : "";
    fmt::print(stderr, "pf: {}{} {}: {}\n", picture_, all, name_, stage_);
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
  const std::string pace = PaceText(PaceOf(done, pictures_, Clock::now() - start_));
  if (pictures_ == 0) {  // nobody knows how many will come
    fmt::print(stderr, "\r\x1b[K{} {}{} {}", picture_, pace, stage_, name_);
  } else {
    fmt::print(stderr, "\r\x1b[K[{:=<{}}{:<{}}] {:3.0f} % {}{}{} {}", "", filled, "", kWidth - filled, all * 100, count,
               pace, stage_, name_);
  }
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
  nlohmann::json event = {{"event", "progress"}, {"picture", picture_}, {"pictures", pictures_},
                          {"name", name_},       {"stage", stage_},     {"fraction", fraction}};
  const double done = static_cast<double>(picture_) - 1 + fraction;
  if (const auto pace = PaceOf(done, pictures_, Clock::now() - start_)) {
    event["pictures_per_second"] = pace->pictures_per_second;
    if (pace->seconds_left >= 0) event["seconds_left"] = pace->seconds_left;
  }
  PrintJsonLine(event);
}

}  // namespace pftool
