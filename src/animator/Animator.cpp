#include "animator/Animator.h"

#include <GL/freeglut.h>

namespace quorel {

Animator* currentAnimator = nullptr;

namespace {

int window = 0;

/// Whether GLUT has asked for a picture since `watch` last looked. At the start it has its time.
bool shown = true;

// GLUT's callbacks are plain functions.
void display() {
  currentAnimator->DisplayFunc();
  shown = true;
}

/// GLUT asks for no picture while nothing of the window can be seen: it is minimised, behind another, on another desktop.
/// What clients send must not pile up meanwhile.
void watch(int) {
  constexpr unsigned int patienceMilliseconds = 100;
  constexpr unsigned int nextFrameMilliseconds = 1;  // lets GLUT see to its events between two frames
  if (shown) {
    shown = false;
    glutTimerFunc(patienceMilliseconds, watch, 0);
  } else {
    glutSetWindow(window);
    currentAnimator->HiddenFunc();
    glutTimerFunc(nextFrameMilliseconds, watch, 0);
  }
}

void keyPress(unsigned char key, int x, int y) {
  currentAnimator->KeyPressFunc(key, x, y);
}
void specialKey(int key, int x, int y) {
  currentAnimator->SpecialKeyFunc(key, x, y);
}
void mouse(int button, int state, int x, int y) {
  currentAnimator->MouseFunc(button, state, x, y);
}
void motion(int x, int y) {
  currentAnimator->MotionFunc(x, y);
}
void passiveMotion(int x, int y) {
  currentAnimator->PassiveMotionFunc(x, y);
}
void reshape(int w, int h) {
  currentAnimator->ReshapeFunc(w, h);
}
void menu(int entry) {
  currentAnimator->MenuFunc(entry);
}

constexpr int initialWidth = 800;
constexpr int initialHeight = 600;

}  // namespace

Animator::Animator(int argc, char** argv) {
  currentAnimator = this;
  glutInit(&argc, argv);
  glutInitDisplayMode(GLUT_RGB | GLUT_DOUBLE | GLUT_DEPTH);
  glutInitWindowPosition(0, 0);
  glutInitWindowSize(initialWidth, initialHeight);
  window = glutCreateWindow("Tessarel");
  glShadeModel(GL_SMOOTH);
  glClearColor(0.0F, 0.0F, 0.0F, 0.0F);
  glClearDepth(1.0);
  glEnable(GL_DEPTH_TEST);
  glutKeyboardFunc(keyPress);
  glutSpecialFunc(specialKey);
  glutReshapeFunc(reshape);
  glutMouseFunc(mouse);
  glutMotionFunc(motion);
  glutPassiveMotionFunc(passiveMotion);
  Animator::InitLights();
  glutDisplayFunc(display);
  watch(0);
}

void Animator::PassiveMotionFunc(int, int) {}

void Animator::InitLights() {
  glEnable(GL_LIGHTING);
  glEnable(GL_LIGHT0);
  glEnable(GL_COLOR_MATERIAL);

  const float black[4] = {0.0F, 0.0F, 0.0F, 1.0F};
  const float white[4] = {1.0F, 1.0F, 1.0F, 1.0F};
  const float direction[4] = {1.0F, 1.0F, 1.0F, 0.0F};
  glLightfv(GL_LIGHT0, GL_AMBIENT, black);
  glLightfv(GL_LIGHT0, GL_DIFFUSE, white);
  glLightfv(GL_LIGHT0, GL_SPECULAR, white);
  glLightfv(GL_LIGHT0, GL_POSITION, direction);

  const float ambient[4] = {0.7F, 0.7F, 0.7F, 1.0F};
  const float diffuse[4] = {0.8F, 0.8F, 0.8F, 1.0F};
  glMaterialfv(GL_FRONT, GL_AMBIENT, ambient);
  glMaterialfv(GL_FRONT, GL_DIFFUSE, diffuse);
  glMaterialfv(GL_FRONT, GL_SPECULAR, white);
  glMaterialf(GL_FRONT, GL_SHININESS, 100.0F);

  glEnable(GL_LIGHTING);
  glEnable(GL_LIGHT0);
  glDepthFunc(GL_LESS);
  glEnable(GL_DEPTH_TEST);
  glEnable(GL_NORMALIZE);
  glEnable(GL_COLOR_MATERIAL);
}

void Animator::ReshapeFunc(int w, int h) {
  window_w = viewport_w = w;
  window_h = viewport_h = h;
  const int width = w != 0 ? w : 1;
  const int height = h != 0 ? h : 1;
  glViewport(viewport_x, viewport_y, width, height);
  aspect = static_cast<float>(width) / static_cast<float>(height);
}

void Animator::createMenu() {
  glutCreateMenu(menu);
  CreateMenuEntries();
  glutAttachMenu(GLUT_RIGHT_BUTTON);
}

}  // namespace quorel
