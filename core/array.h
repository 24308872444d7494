// Bounded value arrays with caller-chosen index ranges.
//
// A1Val<T> runs from any first index to any last index (the numerical code
// uses 1-based state vectors, A1Val<double>(1, n)); A2Val<T> has independent
// row and column ranges and stores its elements row by row. Both own their
// storage (one block from array new), copy deeply, and check indices:
//   - A1Val::operator[] out of range is a fatal error "array bounds" (logged,
//     exit status 1);
//   - A1Val::atIPut, A2Val::operator() and A2Val::atIRCPut out of range are
//     assertion failures.
// This asymmetry is deliberate and kept.
//
// Sizing never initialises elements. Re-sizing to the same element count
// keeps the block and its values (only the index range moves), so work arrays
// re-sized on every call cost nothing after the first.
//
// Instantiated for A1Val<void*, double, float, unsigned char, Long> and
// A2Val<void*, double>.
#pragma once

#include <cstdint>

#include "core/logerror.h"
#include "core/types.h"

template <class T>
class A1Val {
public:
    explicit A1Val(Long n);
    A1Val(Long iFirst, Long iLast);
    A1Val(A1Val<T> const& a);
    ~A1Val();
    A1Val<T>& operator=(A1Val<T> const& a);

    void reconstructIN(Long n);
    void reconstructIFirstILast(Long iFirst, Long iLast);
    void copyElements(A1Val<T> const& a);  // same count: copies a's elements by position

    Long iFirst() const { return _iFirst; }
    Long iLast() const { return _iLast; }
    Long n() const { return _iN; }

    // Modifiable element although the operator is const.
    T& operator[](Long i) const {
        if (i < _iFirst || i > _iLast) fatalError("array bounds");
        return _pel0[i];
    }
    void atIPut(Long i, T el) const {
        VT_ASSERT((i >= _iFirst) && (i <= _iLast));
        _pel0[i] = el;
    }

    Long _iFirst;
    Long _iLast;
    Long _iN;
    T* _pel0;

private:
    void releaseBlock();
    void obtainBlock();
};

template <class T>
class A2Val {
public:
    A2Val();
    A2Val(Long iRFirst, Long iRLast, Long iCFirst, Long iCLast);
    // Values from the argument list: `el` goes to the first element, then
    // every element (row by row, from the first again) takes the next value
    // after `el`, so the first of those overwrites `el`. Kept as designed;
    // no caller uses it.
    A2Val(Long iRFirst, Long iRLast, Long iCFirst, Long iCLast, T el, ...);
    A2Val(A2Val<T> const& a);
    ~A2Val();
    A2Val<T>& operator=(A2Val<T> const& a);

    void reconstructIRCFirstILast(Long iRFirst, Long iRLast, Long iCFirst, Long iCLast);
    void reconstructIRCFirstILastElInit(Long iRFirst, Long iRLast, Long iCFirst, Long iCLast,
                                        T el);
    void fillEl(T el);

    Long iRFirst() const { return _iRFirst; }
    Long iRLast() const { return _iRLast; }
    Long iCFirst() const { return _iCFirst; }
    Long iCLast() const { return _iCLast; }
    Long iNR() const { return _iNR; }
    Long iNC() const { return _iNC; }

    T& operator()(Long iR, Long iC) const {
        VT_ASSERT((iR >= _iRFirst) && (iR <= _iRLast) && (iC >= _iCFirst) && (iC <= _iCLast));
        return _pel00[static_cast<long>(iR) * _iNC + iC];
    }
    void atIRCPut(Long iR, Long iC, T el) const {
        VT_ASSERT((iR >= _iRFirst) && (iR <= _iRLast) && (iC >= _iCFirst) && (iC <= _iCLast));
        _pel00[static_cast<long>(iR) * _iNC + iC] = el;
    }
    A2Val<T> a2Trans() const;

    Long _iRFirst;
    Long _iRLast;
    Long _iNR;
    Long _iCFirst;
    Long _iCLast;
    Long _iNC;
    T* _pel00;

private:
    void releaseBlock();
    void obtainBlock();
    T* pelBlock() const {
        // On the address as an integer: the biased base may lie outside the block.
        return _pel00 == nullptr
                   ? nullptr
                   : reinterpret_cast<T*>(
                         reinterpret_cast<std::uintptr_t>(_pel00) +
                         static_cast<std::uintptr_t>(static_cast<long>(_iRFirst) * _iNC + _iCFirst) *
                             sizeof(T));
    }
};
