// libzkri functions outside the generated Add family table.
#include "image_ops.h"
#include "version_record.h"
#include "zkri.h"

extern "C" {

ZKR_DEFINE_VERSION_GETTER(zkriGetLibVersion, "zkri")

ZkrStatus zkriComplement_32s_C1IR(Zkr32s* pSrcDst, int srcDstStep, ZkriSize roiSize) {
    const ZkrStatus sts =
        zkr::img::checkArgs({pSrcDst}, roiSize, {srcDstStep}, int(sizeof(Zkr32s)), int(sizeof(Zkr32s)));
    if (sts != zkrStsNoErr) return sts;
    zkr::EltJob j;
    j.d = pSrcDst;
    j.dStep = srcDstStep;
    j.rowLen = roiSize.width;
    const zkr::KernelSet& kernels = zkr::kernelsFor(zkrGetDispatchLevel());
    zkr::img::runRows(j, kernels.complement32s, roiSize.width, roiSize.height);
    return zkrStsNoErr;
}

}  // extern "C"
