// Real functions of one real variable as objects.
//
// FFnF is the interface the integrators take: one virtual operation,
// fRAtFD(fD), the range value at a domain value. The concrete kinds:
//   FPolyF       a polynomial, coefficient of x^i at index i;
//   F1PwF        a piecewise-linear table;
//   F3PwF        a cubic-spline table (natural ends or prescribed end slopes);
//   F1PwLogLogF  a table interpolated linearly in log-log space (power laws).
//
// Tables are copied at construction into A1Val<double> arrays over 1..n (the
// objects own their copies; the caller keeps its own data). Abscissas must
// increase strictly and there must be at least two points; every definition
// error is an assertion failure.
//
// Outside [D[1], D[n]] the tables EXTRAPOLATE with their first or last piece
// (no clamping): a piecewise-linear table continues its end segment's line and
// a spline its end cubic. Callers that need clamping must clamp the argument.
#pragma once

#include "core/array.h"
#include "core/types.h"

class FFnF {
public:
    virtual double fRAtFD(double fD) = 0;

protected:
    // Never deleted through the interface: the one virtual operation is the
    // whole of it.
    ~FFnF() = default;
};

class FPolyF final : public FFnF {
public:
    // Coefficients indexed from iFirst >= 0; powers below iFirst are absent,
    // so coefficients over 2..3 give c2 x^2 + c3 x^3.
    explicit FPolyF(const A1Val<double>& arFCoeff);
    double fRAtFD(double fD) override;

private:
    A1Val<double> _arFCoeff;
};

class F1PwF final : public FFnF {
public:
    // D and R over 1..n.
    F1PwF(const A1Val<double>& arFD, const A1Val<double>& arFR);
    // iN points from two C arrays of iN values each (assertion "iN > 1").
    F1PwF(Long iN, const double* pfD, const double* pfR);
    // iN pairs (d, r) from the argument list, the first two given by name.
    F1PwF(Long iN, double fD1, double fR1, double fD2, double fR2, ...);
    double fRAtFD(double fD) override;

private:
    void _checkDefn();
    A1Val<double> _arFD;
    A1Val<double> _arFR;
};

class F3PwF final : public FFnF {
public:
    // Natural spline (zero second derivative at both ends).
    F3PwF(const A1Val<double>& arFD, const A1Val<double>& arFR);
    // Prescribed first derivative fP1 at the first point when bP1, and fPN at
    // the last point when bPN; a natural end otherwise.
    F3PwF(const A1Val<double>& arFD, const A1Val<double>& arFR, bool bP1, double fP1, bool bPN,
          double fPN);
    F3PwF(Long iN, const double* pfD, const double* pfR);
    F3PwF(Long iN, double fD1, double fR1, double fD2, double fR2, ...);
    double fRAtFD(double fD) override;

    Long n() const { return _arFD.n(); }
    double fDI(Long i) const { return _arFD[i]; }
    double fRI(Long i) const { return _arFR[i]; }

private:
    void _checkDefn();
    static void _setPP(const A1Val<double>& arFD, const A1Val<double>& arFR, bool bP1, double fP1,
                       bool bPN, double fPN, A1Val<double>* parFPP);
    A1Val<double> _arFD;
    A1Val<double> _arFR;
    bool _bP1;
    bool _bPN;
    double _fP1;
    double _fPN;
    A1Val<double> _arFPP;  // second derivatives at the points, 1..n
};

class F1PwLogLogF final : public FFnF {
public:
    // Abscissas and values must all be positive.
    F1PwLogLogF(const A1Val<double>& arFD, const A1Val<double>& arFR);
    F1PwLogLogF(Long iN, const double* pfD, const double* pfR);
    F1PwLogLogF(Long iN, double fD1, double fR1, double fD2, double fR2, ...);
    // fD must be positive (assertion "fD > 0.0"). Two abscissas so close that
    // their logarithms coincide fail "fH != 0.0" when evaluated.
    double fRAtFD(double fD) override;

private:
    void _checkDefn();
    void _setLogs();
    A1Val<double> _arFD;
    A1Val<double> _arFR;
    A1Val<double> _arFDLog;
    A1Val<double> _arFRLog;
};
