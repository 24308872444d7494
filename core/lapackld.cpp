// LAPACKE and CBLAS loaded on first use (see lapackld.h).
#include "core/lapackld.h"

#include <dlfcn.h>

#include <cstdio>

#include "core/logerror.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int iDlopenDeepBind = 0;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
constexpr int iDlopenDeepBind = 0;
#else
constexpr int iDlopenDeepBind = RTLD_DEEPBIND;
#endif
#else
constexpr int iDlopenDeepBind = RTLD_DEEPBIND;
#endif

}  // namespace

void* pvFnOfSharedLib(const char* szLib, const char* szFn, bool bOwnSymbolsFirst) {
    // Lazy binding: the libraries' own calls are resolved as they are first
    // made, as when they are loaded with the program. Their symbols are
    // looked up among themselves and their own dependencies first (every
    // one they use is defined there), not after every library the program
    // was loaded with: that search cost more than the loading itself. The
    // sanitizer run-times refuse that flag, and keep the usual order.
    void* pvLib = dlopen(szLib, RTLD_LAZY | RTLD_LOCAL | (bOwnSymbolsFirst ? iDlopenDeepBind : 0));
    void* pvFn = pvLib != nullptr ? dlsym(pvLib, szFn) : nullptr;
    if (pvFn == nullptr) {
        char szMsg[512];
        std::snprintf(szMsg, sizeof szMsg, "cannot load %s from %s", szFn, szLib);
        // The message is itself a format: no conversions may remain in it.
        for (char* pch = szMsg; *pch != '\0'; pch++)
            if (*pch == '%') *pch = '?';
        fatalErrorSzMsg(szMsg);
    }
    return pvFn;
}

namespace {

struct Lapacke {
    decltype(&LAPACKE_dgetrf) dgetrf;
    decltype(&LAPACKE_dgetrs) dgetrs;
};

Lapacke const& lapacke() {
    static const Lapacke lapacke = {
        fnOfSharedLib<decltype(&LAPACKE_dgetrf)>(VT_LAPACKE_SONAME, "LAPACKE_dgetrf", true),
        fnOfSharedLib<decltype(&LAPACKE_dgetrs)>(VT_LAPACKE_SONAME, "LAPACKE_dgetrs", true)};
    return lapacke;
}

decltype(&cblas_dgemv) pfnDgemv() {
    static const auto pfn =
        fnOfSharedLib<decltype(&cblas_dgemv)>(VT_CBLAS_SONAME, "cblas_dgemv", true);
    return pfn;
}

}  // namespace

lapack_int lapackeDgetrf(int iLayout, lapack_int m, lapack_int n, double* pfA, lapack_int lda,
                         lapack_int* piPiv) {
    return lapacke().dgetrf(iLayout, m, n, pfA, lda, piPiv);
}

lapack_int lapackeDgetrs(int iLayout, char chTrans, lapack_int n, lapack_int nrhs,
                         const double* pfA, lapack_int lda, const lapack_int* piPiv, double* pfB,
                         lapack_int ldb) {
    return lapacke().dgetrs(iLayout, chTrans, n, nrhs, pfA, lda, piPiv, pfB, ldb);
}

void cblasDgemv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, blasint m, blasint n, double fAlpha,
                const double* pfA, blasint lda, const double* pfX, blasint incX, double fBeta,
                double* pfY, blasint incY) {
    pfnDgemv()(order, trans, m, n, fAlpha, pfA, lda, pfX, incX, fBeta, pfY, incY);
}
