// Numeric arrays, vectors and matrices for the linear-algebra side.
//
//   A<T>    compact 1- or 2-dimensional array whose bounds live in the same
//           block as its data; 2-D data is stored by column.
//   Vd<T>   dense vector over lo..hi; element i is pdata[i - lo].
//   Mdc<T>  dense matrix stored by column, ready for LAPACK/BLAS: element
//           (iR, iC) is pdata[(iC - loC) * nR + (iR - loR)].
//   Mdr<T>  dense matrix stored by row.
//   Vc<T>   sparse vector: nNz stored entries, their indices in an A<Long>.
//   Mcc<T>  sparse matrix compressed by column.
//   Mco<T>  sparse matrix as a coordinate list.
//   Mhc<T>, Mhb<T>  hashed-by-column and block forms: declared shapes only;
//           nothing in the program builds them entry by entry.
//
// Ownership: each container owns its block and copies deeply. Vd and Mdc
// constructors that take a data pointer adopt it (it must come from array new).
// The sparse types adopt the index arrays (from new) and the value block (from
// array new) handed to their constructors and release them on destruction.
// Sizing constructors zero-fill, so a fresh matrix is ready for assembly.
#pragma once

#include <cstddef>
#include <cstdint>
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
        // A size that does not fit in the address space is an allocation
        // failure too, not a silently wrapped byte count.
        if (nEl > (SIZE_MAX - headerBytes(nDim)) / sizeof(T))
            fatalErrorSzFmtII("A<El>( lo=%i, hi=%i ) allocation failure", lo, hi);
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
        const std::size_t nR = static_cast<std::size_t>(static_cast<long long>(hiR) - loR + 1);
        const std::size_t nC = static_cast<std::size_t>(static_cast<long long>(hiC) - loC + 1);
        std::size_t nEl = 0;
        if (__builtin_mul_overflow(nR, nC, &nEl))
            fatalErrorSzFmtII("A<El>( lo=%i, hi=%i ) allocation failure", loR, hiR);
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
    // The count hi - lo + 1 is formed in 64 bits, so bounds anywhere in
    // Long's range give a count to check rather than an overflow.
    Vd(Long lo, Long hi) : lo(lo), hi(hi), pdata(nullptr) {
        VT_ASSERT(std::int64_t(hi) - lo + 1 >= 0 && std::int64_t(hi) - lo + 1 <= INT32_MAX);
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

// ---- sparse forms -------------------------------------------------------------

// Sparse vector over lo..hi. Entry k (0 .. nNz-1) is the value pdata[k] at
// index (*paI)[k]; paI runs over 0 .. nNz-1.
template <class T>
class Vc {
public:
    Vc(Long lo, Long hi, Long nNz, A<Long>* paI, T* pdata)
        : lo(lo), hi(hi), nNz(nNz), paI(paI), pdata(pdata) {}
    Vc(Vc<T> const& v)
        : lo(v.lo), hi(v.hi), nNz(v.nNz), paI(pCopyA(v.paI)), pdata(pCopyEl(v.pdata, v.nNz)) {}
    Vc<T>& operator=(Vc<T> const&) = delete;
    ~Vc() {
        delete paI;
        delete[] pdata;
    }

    Long lo;
    Long hi;
    Long nNz;
    A<Long>* paI;
    T* pdata;

    static A<Long>* pCopyA(A<Long>* pa) { return pa == nullptr ? nullptr : new A<Long>(*pa); }
    static T* pCopyEl(T* pel, Long n) {
        if (pel == nullptr) return nullptr;
        T* pelNew = new T[static_cast<std::size_t>(n)];
        for (Long k = 0; k < n; k++) pelNew[k] = pel[k];
        return pelNew;
    }
};

// Sparse matrix compressed by column. Column iC's entries are positions
// (*paICStart)[iC] .. (*paICStart)[iC+1]-1 of paIR (row indices) and pdata
// (values); paICStart runs over loC .. hiC+1, its last entry being nNz, and
// paIR over 0 .. nNz-1.
template <class T>
class Mcc {
public:
    Mcc(Long loR, Long hiR, Long loC, Long hiC, Long nNz, A<Long>* paICStart, A<Long>* paIR,
        T* pdata)
        : loR(loR), hiR(hiR), loC(loC), hiC(hiC), nNz(nNz), paICStart(paICStart), paIR(paIR),
          pdata(pdata) {}
    Mcc(Mcc<T> const& m)
        : loR(m.loR), hiR(m.hiR), loC(m.loC), hiC(m.hiC), nNz(m.nNz),
          paICStart(Vc<T>::pCopyA(m.paICStart)), paIR(Vc<T>::pCopyA(m.paIR)),
          pdata(Vc<T>::pCopyEl(m.pdata, m.nNz)) {}
    Mcc<T>& operator=(Mcc<T> const&) = delete;
    ~Mcc() {
        delete paICStart;
        delete paIR;
        delete[] pdata;
    }

    Long loR;
    Long hiR;
    Long loC;
    Long hiC;
    Long nNz;
    A<Long>* paICStart;
    A<Long>* paIR;
    T* pdata;
};

// Sparse matrix as a coordinate list: entry k (0 .. nNz-1) is pdata[k] at row
// (*paIR)[k] and column (*paIC)[k], in no particular order.
template <class T>
class Mco {
public:
    Mco(Long loR, Long hiR, Long loC, Long hiC, Long nNz, A<Long>* paIR, A<Long>* paIC,
        T* pdata)
        : loR(loR), hiR(hiR), loC(loC), hiC(hiC), nNz(nNz), paIR(paIR), paIC(paIC),
          pdata(pdata) {}
    Mco(Mco<T> const& m)
        : loR(m.loR), hiR(m.hiR), loC(m.loC), hiC(m.hiC), nNz(m.nNz),
          paIR(Vc<T>::pCopyA(m.paIR)), paIC(Vc<T>::pCopyA(m.paIC)),
          pdata(Vc<T>::pCopyEl(m.pdata, m.nNz)) {}
    Mco<T>& operator=(Mco<T> const&) = delete;
    ~Mco() {
        delete paIR;
        delete paIC;
        delete[] pdata;
    }

    Long loR;
    Long hiR;
    Long loC;
    Long hiC;
    Long nNz;
    A<Long>* paIR;
    A<Long>* paIC;
    T* pdata;
};

// Sparse matrix hashed by column. Only its shape is built: every column starts
// with no bins and no entries. Entry-by-entry insertion is not part of the
// program; nBinPerCInitDef and fNNzPerBinGrow are the intended growth policy.
template <class T>
class Mhc {
public:
    static constexpr Long nBinPerCInitDef = 4;
    static constexpr double fNNzPerBinGrow = 4.0;

    Mhc(Long loR, Long hiR, Long loC, Long hiC)
        : loR(loR), hiR(hiR), loC(loC), hiC(hiC), nNz(0),
          paICToNBin(new A<Long>(loC, hiC, Long{0})),
          paICToPApBin(new A<unsigned char*>(loC, hiC, static_cast<unsigned char*>(nullptr))),
          paICToNNz(new A<Long>(loC, hiC, Long{0})) {}
    Mhc(Mhc<T> const&) = delete;
    Mhc<T>& operator=(Mhc<T> const&) = delete;
    ~Mhc() {
        delete paICToNBin;
        delete paICToPApBin;
        delete paICToNNz;
    }

    Long loR;
    Long hiR;
    Long loC;
    Long hiC;
    Long nNz;
    A<Long>* paICToNBin;
    A<unsigned char*>* paICToPApBin;
    A<Long>* paICToNNz;
};

// Block matrix: its shape only.
template <class T>
class Mhb {
public:
    Mhb(Long loR, Long hiR, Long loC, Long hiC) : loR(loR), hiR(hiR), loC(loC), hiC(hiC) {}

    Long loR;
    Long hiR;
    Long loC;
    Long hiC;
};

// One sparse entry, as sorted by the comparators below.
struct ElRC {
    Long iR;
    Long iC;
    double f;
};

// ---- products (BLAS dgemv) ------------------------------------------------------
#include <cstdio>

// Matrix times vector: returns a new vector over the matrix's row range,
// owned by the caller. The vector's range must equal the matrix's column
// range exactly (assertion "loC == lo && hiC == hi"): equal lengths with
// different first indices are refused. Computed by BLAS dgemv.
Vd<double>* pmdcgnTimesPVd(Mdc<double>* pm, Vd<double>* pv);
// Transposed matrix times vector: returns a new vector over the column range,
// owned by the caller; the vector's range must equal the row range (assertion
// "loR == lo && hiR == hi").
Vd<double>* pmdcgnTransTimesPVd(Mdc<double>* pm, Vd<double>* pv);

// ---- text dumps ---------------------------------------------------------------
// Every printer takes an index format szFmtI for one Long ("%3i" and the like),
// a value format szFmtF for one double (" %10.4f" and the like) and a count of
// values per line (nPerLine).

// "Vd<F64>[lo ..hi]", then for every group of nPerLine values a new line with
// the group's first index, " : " and the values; a final line feed. A count
// of 0 or less puts all values in one group.
void printPVd(std::FILE* pfile, Vd<double>* pv, const char* szFmtI, const char* szFmtF,
              Long nPerLine);
// "Mdc<F64>[loR ..hiR,loC ..hiC]" and a line feed; "  empty" for a matrix with
// no rows or no columns; otherwise one line per row: row index, " : ", values,
// broken after every nPerLine values by a line feed and blanks as wide as
// szFmtI renders 0. An exact 0.0 prints as a bare "0" right-aligned in the
// width szFmtF gives 0.0. A count of 0 means the number of ROWS (a long-kept
// default: it reads oddly for wide matrices, but existing dumps rely on it).
void printPMdcgn(std::FILE* pfile, Mdc<double>* pm, const char* szFmtI, const char* szFmtF,
                 Long nPerLine);
// The same dump for a raw column-stored block of (hiR-loR+1)*(hiC-loC+1)
// values that no Mdc owns.
void printAsMdc(std::FILE* pfile, Long loR, Long hiR, Long loC, Long hiC, double* pdata,
                const char* szFmtI, const char* szFmtF, Long nPerLine);
// "Mdc<F64>[...], N non-zeroes, M exact zeroes\n".
void printPMdcgnStats(std::FILE* pfile, Mdc<double>* pm, const char* szFmtI);

// "Vc<F64>[lo ..hi], N non-zeroes" and a line feed, then the entries as
// "  index : value", nPerLine to a line.
void printPVc(std::FILE* pfile, Vc<double>* pv, const char* szFmtI, const char* szFmtF,
              Long nPerLine);
// "Mco<F64>[loR ..hiR,loC ..hiC], N non-zeroes" and a line feed, then the
// entries as "  (row,col) : value", nPerLine to a line.
void printPMcogn(std::FILE* pfile, Mco<double>* pm, const char* szFmtI, const char* szFmtF,
                 Long nPerLine);
// "Mcc<F64>[loR ..hiR,loC ..hiC], N non-zeroes\n", then each column introduced
// by a line "  col " and its index, followed by lines of its entries as
// "  row : value", nPerLine to a line.
void printPMccgn(std::FILE* pfile, Mcc<double>* pm, const char* szFmtI, const char* szFmtF,
                 Long nPerLine);
// "Mcc<F64>[...], N non-zeroes, longest column, [,C], has K non-zeroes\n".
void printPMccgnStats(std::FILE* pfile, Mcc<double>* pm, const char* szFmtI);
// The hashed and block forms print nothing.
void printPMhcgn(std::FILE* pfile, Mhc<double>* pm, const char* szFmtI, const char* szFmtF,
                 Long nPerLine);
void printPMhbgn(std::FILE* pfile, Mhb<double>* pm, const char* szFmtI, const char* szFmtF,
                 Long nPerLine);

// ---- sort comparators for ElRC entries, in the form std::qsort expects ----------
int iCompareR(const void* pv1, const void* pv2);   // by row
int iCompareC(const void* pv1, const void* pv2);   // by column
int iCompareRC(const void* pv1, const void* pv2);  // by row, then column
int iCompareCR(const void* pv1, const void* pv2);  // by column, then row
