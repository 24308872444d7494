// WndTop, the frame "Vantorell": 0.9 of the screen's work area, placed 0.05
// of its width and height in from its left and top edge. It holds the menu,
// the status panel (WndDAndC) across the top and the 3-D pane (WndProgram)
// below it, and owns both.
//
// Menu: File > Exit; Commands > the seven key commands of the pane, each
// with its letter, running the same code as the key; View > Back and Forward
// through the camera history (enabled only when possible); Help > About.
// Closing the frame saves the camera to "view.out" before the windows go.
#pragma once

#include <QMainWindow>

class QAction;
class WndDAndC;
class WndProgram;

class WndTop : public QMainWindow {
    Q_OBJECT

public:
    // Builds the frame, then the panel, then the pane (log lines in that
    // order), and places itself on the primary screen.
    WndTop();

    WndDAndC* pwndDAndC() const { return _pwndDAndC; }
    WndProgram* pwndProgram() const { return _pwndProgram; }
    QAction* pactViewBack() const { return _pactViewBack; }
    QAction* pactViewForward() const { return _pactViewForward; }

    // The text of the About box.
    static QString szAboutText();

protected:
    void closeEvent(QCloseEvent* pevent) override;

private:
    void buildMenu();
    void updateViewActions();
    void runCommandFromMenu(char ch);

    WndDAndC* _pwndDAndC = nullptr;
    WndProgram* _pwndProgram = nullptr;
    QAction* _pactViewBack = nullptr;
    QAction* _pactViewForward = nullptr;
};
