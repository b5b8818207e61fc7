// Multi-threaded versions of the library's replaceable routines. Each has the contract and the bits of
// the library's own, for any number of threads; small jobs go straight to the library's.
#pragma once

#include "PF/PF_Copy.h"
#include "PF/PF_Iterate.h"

namespace pfhost {

// Puts the routines below into the library's table, and takes them out again. Called while no other call
// runs.
void InstallThreadedRoutines();
void RemoveThreadedRoutines();

// Rows in bands. Progress is told by the calling thread only, between the bands that it runs itself,
// with the number of rows that all threads have done; counts rise, not every count is told. 517 stops.
// When all rows are done that is told once, and the answer is the result. The code of the topmost pixel
// that fails is the result; bands that were under way when it failed are finished.
PF_Err ThreadedIterate(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final, PF_LayerDef* src,
                       const M_LRect* area, void* reference, PF_IteratePixelFunc function, PF_LayerDef* dst);
PF_Err ThreadedIterateOrigin(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final, PF_LayerDef* src,
                             const M_LRect* area, const M_LPoint* origin, void* reference, PF_IteratePixelFunc function,
                             PF_LayerDef* dst);
PF_Err ThreadedIterateLUT(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final, PF_LayerDef* src,
                          const M_LRect* area, const std::uint8_t* alpha, const std::uint8_t* red,
                          const std::uint8_t* green, const std::uint8_t* blue, PF_LayerDef* dst);

// Indices one by one, in rising order; the code of the lowest index that fails is the result.
PF_Err ThreadedIterateGeneric(std::int32_t iterations, void* reference, PF_IterateGenericFunc function);

// Bands of 64 destination rows. The calling thread polls before each band that it takes, as the
// library's own routine does every 64 rows; a non-zero answer is the result, bands under way are finished.
PF_Err ThreadedCopyDraft(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                         const M_LRect* src_rect, const M_LRect* dst_rect);
PF_Err ThreadedCopyHQStraight(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                              const M_LRect* src_rect, const M_LRect* dst_rect);
PF_Err ThreadedCopyHQPremul(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                            const M_LRect* src_rect, const M_LRect* dst_rect);
PF_Err ThreadedCopyLOStraight(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                              const M_LRect* src_rect, const M_LRect* dst_rect);

}  // namespace pfhost
