// Numeric arrays, vectors and matrices for the linear-algebra side.
//
//   A<T>    compact 1- or 2-dimensional array whose bounds live in the same
//           block as its data; 2-D data is stored by column.
//   Vd<T>   dense vector over lo..hi; element i is pdata[i - lo].
//   Mdc<T>  dense matrix stored by column, ready for LAPACK/BLAS: element
//           (iR, iC) is pdata[(iC - loC) * nR + (iR - loR)].
//   Mdr<T>  dense matrix stored by row.
//
// Ownership: each container owns its block and copies deeply. Vd and Mdc
// constructors that take a data pointer adopt it (it must come from array new).
// Sizing constructors zero-fill, so a fresh matrix is ready for assembly.
#pragma once

#include <cstddef>
#include <cstring>
#include <new>

#include "core/logerror.h"
#include "core/types.h"

template <class T>
class A {
public:
    A() : p(nullptr) {}
    A(Long lo, Long hi) : p(nullptr) { init1(lo, hi); }
    A(Long lo, Long hi, T el) : p(nullptr) {
        init1(lo, hi);
        for (Long i = lo; i <= hi; i++) pData()[i - lo] = el;
    }
    A(Long lo, Long hi, T* pel) : p(nullptr) {
        init1(lo, hi);
        for (Long i = 0; i <= hi - lo; i++) pData()[i] = pel[i];
    }
    A(Long loR, Long hiR, Long loC, Long hiC) : p(nullptr) { init2(loR, hiR, loC, hiC); }
    A(A<T> const& a) : p(nullptr) { copyFrom(a); }
    A<T>& operator=(A<T> const& a) {
        if (&a != this) {
            release();
            copyFrom(a);
        }
        return *this;
    }
    ~A() { release(); }

    Long nDim() const { return plHeader()[0]; }
    Long lo() const { return plo()[0]; }
    Long hi() const { return plo()[1]; }
    Long n() const { return hi() - lo() + 1; }
    Long lo(Long iDim) const {
        VT_ASSERT(iDim <= nDim());
        return plo()[2 * (iDim - 1)];
    }
    Long hi(Long iDim) const {
        VT_ASSERT(iDim <= nDim());
        return plo()[2 * (iDim - 1) + 1];
    }
    Long n(Long iDim) const {
        VT_ASSERT(iDim <= nDim());
        return hi(iDim) - lo(iDim) + 1;
    }
    Long loR() const { return lo(1); }
    Long hiR() const { return hi(1); }
    Long loC() const { return lo(2); }
    Long hiC() const { return hi(2); }
    Long nR() const { return n(1); }
    Long nC() const { return n(2); }
    T* pData() const { return reinterpret_cast<T*>(reinterpret_cast<char*>(p) + headerBytes(nDim())); }

    T& operator[](Long i) const {
        VT_ASSERT(nDim() == 1);
        const Long* plo = this->plo();
        if (i < *plo || i > *(plo + 1)) fatalErrorSzMsg("array bounds");
        Long lo = *plo;
        VT_ASSERT(i >= lo && i <= *(plo+1));
        return pData()[i - lo];
    }
    T at(Long i) const { return *pelAt(i); }
    void atPut(Long i, T el) const { *pelAt(i) = el; }
    T at(Long i, Long j) const { return *pelAt(i, j); }
    void atPut(Long i, Long j, T el) const { *pelAt(i, j) = el; }

    // The single block: nDim, the bounds, then the data.
    Long* p;

private:
    static std::size_t headerBytes(Long nDim) {
        const std::size_t n = sizeof(Long) * static_cast<std::size_t>(1 + 2 * nDim);
        const std::size_t al = alignof(T) > alignof(Long) ? alignof(T) : alignof(Long);
        return (n + al - 1) / al * al;
    }
    const Long* plHeader() const {
        VT_ASSERT(p != nullptr);
        return p;
    }
    const Long* plo() const { return plHeader() + 1; }
    T* pelAt(Long i) const {
        VT_ASSERT(nDim() == 1);
        const Long* plo = this->plo();
        Long lo = *plo;
        VT_ASSERT(i >= lo && i <= *(plo+1));
        return pData() + (i - lo);
    }
    T* pelAt(Long i, Long j) const {
        VT_ASSERT(nDim() == 2);
        Long loR = plo()[0], hiR = plo()[1], loC = plo()[2], hiC = plo()[3];
        VT_ASSERT(i >= loR && i <= hiR);
        VT_ASSERT(j >= loC && j <= hiC);
        return pData() + (static_cast<std::size_t>(j - loC) * (hiR - loR + 1) + (i - loR));
    }
    void allocate(Long nDim, std::size_t nEl, Long lo, Long hi) {
        const std::size_t nBytes = headerBytes(nDim) + nEl * sizeof(T);
        char* pch = new (std::nothrow) char[nBytes];
        if (pch == nullptr) fatalErrorSzFmtII("A<El>( lo=%i, hi=%i ) allocation failure", lo, hi);
        std::memset(pch, 0, nBytes);
        p = reinterpret_cast<Long*>(pch);
        p[0] = nDim;
    }
    void init1(Long lo, Long hi) {
        if (static_cast<long long>(hi) < static_cast<long long>(lo) - 1)
            fatalErrorSzMsg("invalid range in 1d A ctor");
        allocate(1, static_cast<std::size_t>(static_cast<long long>(hi) - lo + 1), lo, hi);
        p[1] = lo;
        p[2] = hi;
    }
    void init2(Long loR, Long hiR, Long loC, Long hiC) {
        if (static_cast<long long>(hiR) < static_cast<long long>(loR) - 1 ||
            static_cast<long long>(hiC) < static_cast<long long>(loC) - 1)
            fatalErrorSzMsg("invalid range in 2d A ctor");
        const std::size_t nEl = static_cast<std::size_t>(static_cast<long long>(hiR) - loR + 1) *
                                static_cast<std::size_t>(static_cast<long long>(hiC) - loC + 1);
        allocate(2, nEl, loR, hiR);
        p[1] = loR;
        p[2] = hiR;
        p[3] = loC;
        p[4] = hiC;
    }
    std::size_t nElAll() const {
        if (nDim() == 1) return static_cast<std::size_t>(n());
        return static_cast<std::size_t>(nR()) * static_cast<std::size_t>(nC());
    }
    void copyFrom(A<T> const& a) {
        if (a.p == nullptr) return;
        const std::size_t nBytes = headerBytes(a.nDim()) + a.nElAll() * sizeof(T);
        char* pch = new char[nBytes];
        std::memcpy(pch, a.p, nBytes);
        p = reinterpret_cast<Long*>(pch);
    }
    void release() {
        delete[] reinterpret_cast<char*>(p);
        p = nullptr;
    }
};

template <class T>
class Vd {
public:
    Vd(Long lo, Long hi) : lo(lo), hi(hi), pdata(nullptr) {
        VT_ASSERT(hi >= lo - 1);
        pdata = new T[static_cast<std::size_t>(hi - lo + 1)]();
    }
    // Adopts pdata (from array new); released by the destructor.
    Vd(Long lo, Long hi, T* pdata) : lo(lo), hi(hi), pdata(pdata) {}
    Vd(Vd<T> const& v) : lo(v.lo), hi(v.hi), pdata(new T[static_cast<std::size_t>(v.n())]) {
        for (Long i = 0; i < n(); i++) pdata[i] = v.pdata[i];
    }
    Vd<T>& operator=(Vd<T> const& v) {
        if (&v != this) {
            T* pnew = new T[static_cast<std::size_t>(v.n())];
            for (Long i = 0; i < v.n(); i++) pnew[i] = v.pdata[i];
            delete[] pdata;
            pdata = pnew;
            lo = v.lo;
            hi = v.hi;
        }
        return *this;
    }
    ~Vd() { delete[] pdata; }

    Long n() const { return hi - lo + 1; }
    T& operator[](Long i) const {
        VT_ASSERT(i >= lo && i <= hi);
        return pdata[i - lo];
    }

    Long lo;
    Long hi;
    T* pdata;
};

template <class T>
class Mdc {
public:
    Mdc(Long nR, Long nC) : Mdc(1, nR, 1, nC) {}
    Mdc(Long loR, Long hiR, Long loC, Long hiC)
        : loR(loR), hiR(hiR), loC(loC), hiC(hiC), pdata(nullptr) {
        VT_ASSERT(hiR >= loR - 1 && hiC >= loC - 1);
        pdata = new T[static_cast<std::size_t>(nR()) * static_cast<std::size_t>(nC())]();
    }
    // Adopts pdata (from array new); released by the destructor.
    Mdc(Long loR, Long hiR, Long loC, Long hiC, T* pdata)
        : loR(loR), hiR(hiR), loC(loC), hiC(hiC), pdata(pdata) {}
    Mdc(Mdc<T> const& m) : loR(m.loR), hiR(m.hiR), loC(m.loC), hiC(m.hiC), pdata(nullptr) {
        const std::size_t nEl = static_cast<std::size_t>(nR()) * static_cast<std::size_t>(nC());
        pdata = new T[nEl];
        for (std::size_t i = 0; i < nEl; i++) pdata[i] = m.pdata[i];
    }
    Mdc<T>& operator=(Mdc<T> const& m) = delete;
    ~Mdc() { delete[] pdata; }

    Long nR() const { return hiR - loR + 1; }
    Long nC() const { return hiC - loC + 1; }
    T& at(Long iR, Long iC) const {
        VT_ASSERT(iR >= loR && iR <= hiR && iC >= loC && iC <= hiC);
        return pdata[static_cast<std::size_t>(iC - loC) * nR() + (iR - loR)];
    }

    Long loR;
    Long hiR;
    Long loC;
    Long hiC;
    T* pdata;
};

template <class T>
class Mdr {
public:
    Mdr(Long nR, Long nC) : Mdr(1, nR, 1, nC) {}
    Mdr(Long loR, Long hiR, Long loC, Long hiC)
        : loR(loR), hiR(hiR), loC(loC), hiC(hiC), pdata(nullptr) {
        VT_ASSERT(hiR >= loR - 1 && hiC >= loC - 1);
        pdata = new T[static_cast<std::size_t>(hiR - loR + 1) *
                      static_cast<std::size_t>(hiC - loC + 1)]();
    }
    Mdr(Mdr<T> const&) = delete;
    Mdr<T>& operator=(Mdr<T> const&) = delete;
    ~Mdr() { delete[] pdata; }

    Long loR;
    Long hiR;
    Long loC;
    Long hiC;
    T* pdata;
};

// ---- products (BLAS dgemv) and text dumps: core/mxtypes.cpp ----------------
#include <cstdio>

// Returns a new vector over the matrix's row range (caller owns it).
// Requires the vector's range to equal the column range.
Vd<double>* pmdcgnTimesPVd(Mdc<double>* pm, Vd<double>* pv);
// Transpose product: returns a new vector over the column range.
Vd<double>* pmdcgnTransTimesPVd(Mdc<double>* pm, Vd<double>* pv);

void printPVd(std::FILE* pfile, Vd<double>* pv, const char* szFmtI, const char* szFmtF,
              Long nPerLine);
void printPMdcgn(std::FILE* pfile, Mdc<double>* pm, const char* szFmtI, const char* szFmtF,
                 Long nPerLine);
