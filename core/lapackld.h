// The LU factorisation and solve of LAPACKE and the matrix-vector product of
// CBLAS, from the system's libraries loaded on first use.
//
// Only planning and the matrix products need them. Loading them with the
// program cost most of a short run's process time (the LAPACK and BLAS
// libraries bring thousands of relocations and start a BLAS thread pool), so
// a run that does not plan never loads them. The functions are the
// libraries' own, called with the same arguments: results are the same bits.
//
// A library that cannot be loaded, or lacks the function, is a fatal error
// naming it. Safe to call from several threads (the loading is done once).
#pragma once

#include <cblas.h>
#include <lapacke.h>

lapack_int lapackeDgetrf(int iLayout, lapack_int m, lapack_int n, double* pfA, lapack_int lda,
                         lapack_int* piPiv);
lapack_int lapackeDgetrs(int iLayout, char chTrans, lapack_int n, lapack_int nrhs,
                         const double* pfA, lapack_int lda, const lapack_int* piPiv, double* pfB,
                         lapack_int ldb);
void cblasDgemv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, blasint m, blasint n, double fAlpha,
                const double* pfA, blasint lda, const double* pfX, blasint incX, double fBeta,
                double* pfY, blasint incY);

// The function szFn of the shared library szLib (a shared-object name),
// loaded now if need be, with lazy binding; a fatal error naming both when
// either cannot be had. With bOwnSymbolsFirst the library's symbols are
// looked up among itself and its own dependencies first (where the
// run-time allows it), which is what made loading LAPACK cheap; a library
// that must share its dispatch state with others already loaded (OpenGL)
// takes the usual order.
void* pvFnOfSharedLib(const char* szLib, const char* szFn, bool bOwnSymbolsFirst);

// The same function as a pointer of its own type Fn (decltype of its
// declaration).
template <class Fn>
Fn fnOfSharedLib(const char* szLib, const char* szFn, bool bOwnSymbolsFirst) {
    return reinterpret_cast<Fn>(pvFnOfSharedLib(szLib, szFn, bOwnSymbolsFirst));
}
