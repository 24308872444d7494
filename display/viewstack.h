// The program window's view: the current camera and projection, the
// history of cameras the user can step back and forth through, the camera
// files "view.in" / "view.out", and the mouse-drag maths that turn and zoom
// the camera.
//
// The history is a fixed ring of 100 camera records, arXfmCFmWStack[0..99],
// that grows toward lower indices. iXfmCFmWStackTop is the next free slot;
// the newest entry is at top + 1 (99 wraps to 0 upward, 0 to 99 downward).
// The stack is empty when top equals iXfmCFmWStackFirst; a push that makes
// them meet drops the oldest entry, so at most 99 entries are retrievable.
// iXfmCFmWStackHwm is the value of top right after the last push: popped
// entries stay in their slots and can be re-pushed until the next push.
//
// Note that the initial state (top 0, first 99) is not empty: it counts 99
// unset entries until the stack is first emptied (resizeViewForPane does
// that, and the window always gets a size before it is used).
//
// A ViewStack is one window's view, touched only from that window's thread.
// Plain C++: no graphics or window code.
#pragma once

#include "core/types.h"
#include "display/camera.h"

// Camera records in the history ring.
constexpr Long nXfmCFmWStack = 100;

struct ViewStack {
    // The camera and projection the program window draws with.
    XfmCFmW3c xfmCFmW;
    XfmPFmC3c xfmPFmC;

    XfmCFmW3c arXfmCFmWStack[nXfmCFmWStack];
    Long iXfmCFmWStackTop = 0;                    // next free slot, initially 0
    Long iXfmCFmWStackFirst = nXfmCFmWStack - 1;  // bottom marker, initially 99
    Long iXfmCFmWStackHwm = 0;                    // top right after the last push, initially 0

    // Puts the three indices back to their initial values (0, 99, 0); the slots
    // keep whatever they hold.
    void initXfmCFmWStack();

    bool bEmptyXfmCFmWOnStack() const;
    // Stores a copy at slot top and moves top down; the high-water mark becomes
    // the new top. A full ring drops its oldest entry.
    void pushXfmCFmWToStack(XfmCFmW3c& xfm);
    // Moves top up and returns the entry there. On an empty stack:
    // cantHappen("stack empty in xfmCFmWPopFromStack()"), which ends the program.
    XfmCFmW3c xfmCFmWPopFromStack();
    // The newest entry, unchanged. On an empty stack:
    // cantHappen("stack empty in xfmCFmWTopOfStack()").
    XfmCFmW3c xfmCFmWTopOfStack() const;
    // True when popped entries can be pushed back (high-water mark != top).
    bool bXfmCFmWStackRePushPossible() const;
    // Pushes the most recently popped entry back and returns it (the high-water
    // mark stays). With nothing to re-push it returns the newest entry
    // unchanged, or, on an empty stack, reports
    // cantHappen("nothing available in xfmCFmWRePushToStack()").
    XfmCFmW3c xfmCFmWRePushToStack();

    // Writes the current camera xfmCFmW as four lines of "%12.5lf %12.5lf
    // %12.5lf\n": eye point; look; up; window width fR - fL, fN, fF. A file
    // that cannot be opened is reported on the standard error stream and
    // skipped.
    void writeViewOut(const char* szFile) const;

    // Sets xfmPFmC from the pane, builds xfmCFmW from the camera file (the four
    // lines of writeViewOut, read with "%lf %lf %lf" each) matched to the pane's
    // aspect with xfmCFmW3cMatchArFDX, and pushes it onto the stack.
    // The file is used only when it gives 12 finite numbers, each of magnitude
    // at most 1e9, with look and up of length at least 1e-9 and at least about
    // 0.0001 degrees apart, a width of at least 1e-9, 0 <= near, far at least
    // 1e-9 beyond near, and a resulting transform with finite elements.
    // Anything else -- a missing file quietly, a bad one with a one-line note on
    // the standard error stream ("view.in: <what is wrong>; using the default
    // camera") -- gives the default camera. A pane without width or height is taken as 1
    // pixel in that direction for the aspect ratio.
    void readViewInOrDefault(const char* szFile, Pane const& pane);

    // After the pane changed size: rebuilds xfmPFmC, widens the camera's window
    // to the new aspect (xfmCFmW3cMatchArAtLeast), empties the stack by popping
    // and pushes the adjusted camera. A pane without width or height (a
    // minimised window) changes nothing. An unset camera is replaced by the
    // default one.
    void resizeViewForPane(Pane const& pane);
};

// ---- camera files ------------------------------------------------------------------

// The default camera used when there is no usable "view.in": looking along
// (-20, 150, -8) with up (0, 0, 1), a window 0.25 wide at near 1, far 10000,
// perspective, from the eye point 180 m back along the look from the aim
// point (15, 0, 1), so that the pad, the valley, the far plain and a hop of
// about 10 m fill the view (about 45 m across at the aim point).
extern const Pt3c ptAimDefaultView;
extern const double fDistDefaultView;
extern const Vc3c vcLookDefaultView;
extern const Vc3c vcUpDefaultView;
extern const double fDXDefaultView;
extern const double fNDefaultView;
extern const double fFDefaultView;
XfmCFmW3c xfmCFmW3cDefaultFm(XfmPFmC3c const& xfmPFmC);

// ---- mouse navigation ---------------------------------------------------------------

// The point the camera turns about and zooms toward: where the look ray meets
// the ground plane z = 0, if it does so beyond the near distance and within
// the far distance; otherwise the point 180 m along the look.
Pt3c ptLookAtFmXfmCFmW3c(XfmCFmW3c const& xfm);

// The camera at the press point, turned about its look-at point by a drag of
// (iPxDX, iPxDY) pixels (window coordinates: x to the right, y downward).
// A drag across the whole pane width turns by 180 degrees: sideways about the
// world z axis (dragging right swings the near side of the scene to the
// right), vertically about the camera's horizontal axis (dragging down
// raises the eye and looks more steeply down). The tilt stops 1 degree short
// of the up direction either way. The eye stays at the same distance from
// the look-at point, which stays on the look axis. Width, near, far and the
// projection kind are kept; the window is matched to the pane's aspect.
XfmCFmW3c xfmCFmWTurnedByDrag(XfmCFmW3c const& xfm0, Long iPxDX, Long iPxDY, Pane const& pane);

// The camera moved along its look axis by a vertical drag of iPxDY pixels
// (window coordinates, y downward): the distance to the look-at point is
// multiplied by exp(3 * iPxDY / pane height), so dragging up by a whole pane
// height brings the eye to 1/20 of the distance. The eye never reaches the
// look-at point: it stops at twice the near distance (at least 0.01 m), and
// going away it stops at half the far distance (unless already nearer or
// farther than these limits, when it stays put). Width, near, far and the
// projection kind are kept; the window is matched to the pane's aspect.
XfmCFmW3c xfmCFmWZoomedByDrag(XfmCFmW3c const& xfm0, Long iPxDY, Pane const& pane);
