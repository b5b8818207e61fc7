#include "selftest/OperationTable.h"

namespace selftest {
namespace {

void AddState(Hash& hash, const PF_ColorSettings& settings) {
  hash.AddValue(settings.IsValid());
  hash.AddValue(settings.GetLinearize());
  hash.AddValue(settings.GetLinearBlending());
  hash.AddBytes(&settings.GetProfileID(), sizeof(_t_XCE_ID));
  const vexcore::Guid guid = settings.GetRenderGuid();
  hash.AddBytes(&guid, sizeof guid);
  hash.AddValue(settings.GetProfile() == nullptr);
}

// What settings without a pool of profiles do.
void AddColorSettings(OperationTable& table) {
  table.push_back({"colour settings without an engine", 0, false, [](Trial& run) {
                     return CodeOf([&] {
                       PF_ColorSettings settings;
                       AddState(run.results, settings);
                       _t_XCE_ID id = {};
                       for (std::uint8_t& byte : id.bytes) byte = static_cast<std::uint8_t>(run.random());
                       settings.SetProfileID(id);
                       settings.SetLinearize(run.random() % 2 == 0);
                       settings.SetLinearBlending(run.random() % 2 == 0);
                       AddState(run.results, settings);
                       const PF_ColorSettings copy(settings);
                       PF_ColorSettings assigned, handed;
                       assigned = settings;
                       PFp_TransferColorSettings(&settings, &handed);
                       for (const PF_ColorSettings* other : {&copy, static_cast<const PF_ColorSettings*>(&assigned),
                                                             static_cast<const PF_ColorSettings*>(&handed)}) {
                         AddState(run.results, *other);
                         run.results.AddValue(settings == *other);
                         run.results.AddValue(settings.GetSortOrder(*other));
                       }
                       settings.InvalidateCachedValues(id);
                       AddState(run.results, settings);
                     });
                   }});
}

void AddNames(OperationTable& table) {
  table.push_back({"versions and names", 0, false, [](Trial& run) {
                     run.results.AddValue(PF_PkgObjectVersion());
                     run.results.AddValue(PF_CheckVersions(PF_MODULE, PF_VERSION));
                     for (std::int32_t index = -1; index < PF_OVERRIDE_COUNT + 3; ++index) {
                       const char* name = PF_GetOverrideName(index);
                       run.results.AddText(name != nullptr ? name : "none");
                       run.results.AddValue(PF_GetOverrideFunc(index) != nullptr);
                     }
                     PF_AnyFunc found = nullptr;
                     run.results.AddValue(PF_GetCallbackAddr(2, &found));
                     run.results.AddValue(found == PF_GetOverrideFunc(2));
                     for (std::int32_t i = 0; i < PF_G_zref->count; ++i) {
                       run.results.AddText(PF_G_zref->keyed_texts[i]);
                     }
                     run.results.AddText(PF_Error(PF_Err_BAD_PARAMETER).what());
                     run.results.AddValue(PFp_LiveWorldCount());
                     PF_FreeUpSomeMemory();
                     return PF_Err{PF_Err_NONE};
                   }});
}

}  // namespace

void AddSettings(OperationTable& table) {
  AddColorSettings(table);
  AddNames(table);
}

}  // namespace selftest
