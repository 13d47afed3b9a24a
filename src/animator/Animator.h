#pragma once

#include <cstdint>

namespace quorel {

/// The window: owns the GLUT set-up and forwards every GLUT callback to a virtual operation of the one live instance.
/// Threading: the main thread only, the one thread that touches OpenGL.
/// Ownership: lives until the process ends; nothing destroys it, for GLUT may end the process inside a callback.
/// Units:     pixels, from the window's upper left corner unless OpenGL says otherwise.
class Animator {
public:
  /// Opens the window. GLUT takes the arguments it knows; it ends the process with its own message if it finds no
  /// display.
  Animator(int argc, char** argv);
  Animator(const Animator&) = delete;
  Animator& operator=(const Animator&) = delete;

  /// One whole frame; asks for the next at its end.
  virtual void DisplayFunc() = 0;
  /// The same without a picture, for as long as nothing of the window can be seen.
  virtual void HiddenFunc() = 0;
  virtual void KeyPressFunc(unsigned char key, int x, int y) = 0;
  virtual void SpecialKeyFunc(int key, int x, int y) = 0;
  virtual void MouseFunc(int button, int state, int x, int y) = 0;
  virtual void MotionFunc(int x, int y) = 0;
  virtual void PassiveMotionFunc(int x, int y);
  /// Lights and material. The light is directional and is placed in the modelview of the moment.
  virtual void InitLights();
  virtual void ReshapeFunc(int w, int h);
  virtual void CreateMenuEntries() = 0;
  virtual void MenuFunc(int entry) = 0;

  std::int32_t viewport_x = 0;
  std::int32_t viewport_y = 0;
  std::int32_t viewport_w = 1;
  std::int32_t viewport_h = 1;
  /// The size last given to `ReshapeFunc`.
  std::int32_t window_w = 0;
  std::int32_t window_h = 0;
  /// Width over height.
  double aspect = 1.0;

protected:
  ~Animator() = default;

  /// Makes the menu of the right mouse button and fills it through `CreateMenuEntries`.
  void createMenu();
};

/// The one live window, which the GLUT callbacks reach through this pointer; null before it is made.
extern Animator* currentAnimator;

}  // namespace quorel
