// Bounded value arrays (see array.h).
#include "core/array.h"

#include <cstdarg>
#include <cstdint>

namespace {

// Element count of a range, computed without overflow. A range whose count
// does not fit in a Long cannot be stored by any machine this runs on.
Long nFmRange(Long iFirst, Long iLast) {
    const std::int64_t n = static_cast<std::int64_t>(iLast) - iFirst + 1;
    VT_ASSERT(n <= INT32_MAX);
    return static_cast<Long>(n);
}

template <class T>
T elFromVaList(std::va_list& ap) {
    return static_cast<T>(va_arg(ap, T));
}

}  // namespace

// ---- A1Val -------------------------------------------------------------------

// A biased base pointer lies outside its block whenever the first index is
// not 0, and pointer arithmetic that leaves a block is undefined. So the bias
// is applied and removed on the address as an integer (unsigned, wrapping):
// pelBiased(pelBlock, k), for a block whose first element has index k, is the
// address at which element 0 would lie; pelUnbiased(pel0, k) gives the block
// back. Indexing pel0[i] for i in the range then lands inside the block.
namespace {
template <class T>
T* pelBiased(T* pel, long iBias) {
    return reinterpret_cast<T*>(reinterpret_cast<std::uintptr_t>(pel) -
                                static_cast<std::uintptr_t>(iBias) * sizeof(T));
}
template <class T>
T* pelUnbiased(T* pel, long iBias) {
    return reinterpret_cast<T*>(reinterpret_cast<std::uintptr_t>(pel) +
                                static_cast<std::uintptr_t>(iBias) * sizeof(T));
}
}  // namespace

template <class T>
void A1Val<T>::obtainBlock() {
    _pel0 = (_iN == 0) ? nullptr : pelBiased(new T[static_cast<std::size_t>(_iN)], _iFirst);
}

template <class T>
void A1Val<T>::releaseBlock() {
    if (_iN != 0 && _pel0 != nullptr) {
        T* pelBlock = pelUnbiased(_pel0, _iFirst);
        if (pelBlock != nullptr) delete[] pelBlock;
    }
    _pel0 = nullptr;
}

template <class T>
A1Val<T>::A1Val(Long n) : _iFirst(0), _iLast(n > 0 ? n - 1 : -1), _iN(n), _pel0(nullptr) {
    VT_ASSERT(_iN >= 0);
    obtainBlock();
}

template <class T>
A1Val<T>::A1Val(Long iFirst, Long iLast)
    : _iFirst(iFirst), _iLast(iLast), _iN(nFmRange(iFirst, iLast)), _pel0(nullptr) {
    VT_ASSERT(_iN >= 0);
    obtainBlock();
}

// Element by element over the count: an index loop "i <= _iLast" would step
// past INT32_MAX when the range ends there.
template <class T>
void A1Val<T>::copyElements(A1Val<T> const& a) {
    for (Long k = 0; k < _iN; k++) _pel0[_iFirst + k] = a._pel0[a._iFirst + k];
}

template <class T>
A1Val<T>::A1Val(A1Val<T> const& a)
    : _iFirst(a._iFirst), _iLast(a._iLast), _iN(a._iN), _pel0(nullptr) {
    VT_ASSERT(_iN >= 0);
    obtainBlock();
    copyElements(a);
}

template <class T>
A1Val<T>::~A1Val() {
    releaseBlock();
    _iFirst = 0;
    _iLast = 0;
    _iN = 0;
    _pel0 = nullptr;
}

template <class T>
A1Val<T>& A1Val<T>::operator=(A1Val<T> const& a) {
    if (&a == this) return *this;
    if (a._iN == _iN) {
        if (_pel0 != nullptr) _pel0 = pelBiased(pelUnbiased(_pel0, _iFirst), a._iFirst);
        _iFirst = a._iFirst;
        _iLast = a._iLast;
    } else {
        releaseBlock();
        _iFirst = a._iFirst;
        _iLast = a._iLast;
        _iN = a._iN;
        obtainBlock();
    }
    copyElements(a);
    return *this;
}

template <class T>
void A1Val<T>::reconstructIN(Long n) {
    VT_ASSERT(n >= 0);
    reconstructIFirstILast(0, n - 1);
}

template <class T>
void A1Val<T>::reconstructIFirstILast(Long iFirst, Long iLast) {
    const Long n = nFmRange(iFirst, iLast);
    VT_ASSERT(n >= 0);
    if (n == _iN) {
        // Same count: keep the block, re-bias so position k keeps its value.
        if (_pel0 != nullptr) _pel0 = pelBiased(pelUnbiased(_pel0, _iFirst), iFirst);
        _iFirst = iFirst;
        _iLast = iLast;
        return;
    }
    releaseBlock();
    _iN = n;
    _iFirst = iFirst;
    _iLast = iLast;
    obtainBlock();
}

// ---- A2Val -------------------------------------------------------------------

template <class T>
void A2Val<T>::obtainBlock() {
    if (_iNR == 0 && _iNC == 0) {
        _pel00 = nullptr;
        return;
    }
    // Deliberately, a shape with exactly one zero count still obtains a
    // (zero-element) block; releaseBlock() never gives such a block back.
    const std::size_t nEl = static_cast<std::size_t>(_iNR) * static_cast<std::size_t>(_iNC);
    T* pelBlock = new T[nEl];
    _pel00 = pelBiased(pelBlock, static_cast<long>(_iRFirst) * _iNC + _iCFirst);
}

template <class T>
void A2Val<T>::releaseBlock() {
    if (_iNR != 0 && _iNC != 0) {
        T* pel = pelBlock();
        if (pel != nullptr) delete[] pel;
    }
    _pel00 = nullptr;
}

template <class T>
A2Val<T>::A2Val()
    : _iRFirst(0), _iRLast(0), _iNR(0), _iCFirst(0), _iCLast(0), _iNC(0), _pel00(nullptr) {}

template <class T>
A2Val<T>::A2Val(Long iRFirst, Long iRLast, Long iCFirst, Long iCLast)
    : _iRFirst(iRFirst),
      _iRLast(iRLast),
      _iNR(nFmRange(iRFirst, iRLast)),
      _iCFirst(iCFirst),
      _iCLast(iCLast),
      _iNC(nFmRange(iCFirst, iCLast)),
      _pel00(nullptr) {
    // Deliberately fails only when both counts are negative.
    VT_ASSERT((_iNR >= 0) || (_iNC >= 0));
    if (_iNR < 0 || _iNC < 0) return;  // nothing can be stored in such a shape
    obtainBlock();
}

template <class T>
A2Val<T>::A2Val(Long iRFirst, Long iRLast, Long iCFirst, Long iCLast, T el, ...)
    : _iRFirst(iRFirst),
      _iRLast(iRLast),
      _iNR(nFmRange(iRFirst, iRLast)),
      _iCFirst(iCFirst),
      _iCLast(iCLast),
      _iNC(nFmRange(iCFirst, iCLast)),
      _pel00(nullptr) {
    VT_ASSERT((_iNR > 0) && (_iNC > 0));
    obtainBlock();
    VT_ASSERT(_iNR > 0 && _iNC > 0);
    (*this)(_iRFirst, _iCFirst) = el;
    std::va_list ap;
    va_start(ap, el);
    for (Long iR = _iRFirst; iR <= _iRLast; iR++)
        for (Long iC = _iCFirst; iC <= _iCLast; iC++) (*this)(iR, iC) = elFromVaList<T>(ap);
    va_end(ap);
}

template <class T>
A2Val<T>::A2Val(A2Val<T> const& a)
    : _iRFirst(a._iRFirst),
      _iRLast(a._iRLast),
      _iNR(a._iNR),
      _iCFirst(a._iCFirst),
      _iCLast(a._iCLast),
      _iNC(a._iNC),
      _pel00(nullptr) {
    VT_ASSERT((_iNR >= 0) || (_iNC >= 0));
    if (_iNR < 0 || _iNC < 0) return;
    obtainBlock();
    for (Long iR = _iRFirst; iR <= _iRLast; iR++)
        for (Long iC = _iCFirst; iC <= _iCLast; iC++) (*this)(iR, iC) = a(iR, iC);
}

template <class T>
A2Val<T>::~A2Val() {
    releaseBlock();
    _iRFirst = _iRLast = _iNR = 0;
    _iCFirst = _iCLast = _iNC = 0;
    _pel00 = nullptr;
}

template <class T>
A2Val<T>& A2Val<T>::operator=(A2Val<T> const& a) {
    if (&a == this) return *this;
    if (a._iNR < 0 || a._iNC < 0) {
        // A shape with a negative count holds nothing to copy.
        releaseBlock();
        _iRFirst = a._iRFirst;
        _iRLast = a._iRLast;
        _iNR = a._iNR;
        _iCFirst = a._iCFirst;
        _iCLast = a._iCLast;
        _iNC = a._iNC;
        return *this;
    }
    reconstructIRCFirstILast(a._iRFirst, a._iRLast, a._iCFirst, a._iCLast);
    for (Long iR = _iRFirst; iR <= _iRLast; iR++)
        for (Long iC = _iCFirst; iC <= _iCLast; iC++) (*this)(iR, iC) = a(iR, iC);
    return *this;
}

template <class T>
void A2Val<T>::reconstructIRCFirstILast(Long iRFirst, Long iRLast, Long iCFirst, Long iCLast) {
    const Long iNR = nFmRange(iRFirst, iRLast);
    const Long iNC = nFmRange(iCFirst, iCLast);
    VT_ASSERT(( iNR >= 0 ) && ( iNC >= 0 ));
    if (iNR == _iNR && iNC == _iNC && _iNR >= 0 && _iNC >= 0) {
        if (_pel00 != nullptr) {
            T* pel = pelBlock();
            _pel00 = pelBiased(pel, static_cast<long>(iRFirst) * iNC + iCFirst);
        }
        _iRFirst = iRFirst;
        _iRLast = iRLast;
        _iCFirst = iCFirst;
        _iCLast = iCLast;
        return;
    }
    if (_iNR >= 0 && _iNC >= 0) releaseBlock();
    _pel00 = nullptr;
    _iRFirst = iRFirst;
    _iRLast = iRLast;
    _iNR = iNR;
    _iCFirst = iCFirst;
    _iCLast = iCLast;
    _iNC = iNC;
    obtainBlock();
}

template <class T>
void A2Val<T>::reconstructIRCFirstILastElInit(Long iRFirst, Long iRLast, Long iCFirst,
                                              Long iCLast, T el) {
    reconstructIRCFirstILast(iRFirst, iRLast, iCFirst, iCLast);
    fillEl(el);
}

template <class T>
void A2Val<T>::fillEl(T el) {
    for (Long iR = _iRFirst; iR <= _iRLast; iR++)
        for (Long iC = _iCFirst; iC <= _iCLast; iC++) (*this)(iR, iC) = el;
}

template <class T>
A2Val<T> A2Val<T>::a2Trans() const {
    A2Val<T> aT(_iCFirst, _iCLast, _iRFirst, _iRLast);
    for (Long iR = _iRFirst; iR <= _iRLast; iR++)
        for (Long iC = _iCFirst; iC <= _iCLast; iC++) aT(iC, iR) = (*this)(iR, iC);
    return aT;
}

template class A1Val<void*>;
template class A1Val<double>;
template class A1Val<float>;
template class A1Val<unsigned char>;
template class A1Val<Long>;
template class A2Val<void*>;
template class A2Val<double>;
