#pragma once
// Drawing a skinned mesh with the GPU skinning programs (quat_skinned_geometry.cg and
// character_advanced.cg). The mesh stays in its bind pose in memory; the pose travels as
// the mesh's two bone arrays, and each vertex's bone ids and weights travel as texture
// coordinate arrays:
//
//   unit 0: texture coordinates (2 floats)
//   unit 1: bone ids (4 floats, -1 for an empty place)
//   unit 2: bone weights (4 floats)
//
// Texture coordinate arrays reach a program that the shading layer linked on its own,
// with no attribute locations to bind before the link. Only the characters' Render
// calls these, inside the "EnableProfile, Bind, set parameters, draw" order.

#include <cstdint>
#include <vector>

class MeshAAM;
class ShaderProgram;

// The mesh's 30 rotations as the program's "BoneRotationArray" wants them: four floats
// per bone in the order the quaternion stores them, w, x, y, z (the shader reads w as .x).
std::vector<float> PackBoneRotations(const MeshAAM& mesh);
// The mesh's 30 positions as "BonePositionArray": x, y, z per bone.
std::vector<float> PackBonePositions(const MeshAAM& mesh);

// Sends "BoneRotationArray" (30 x 4 floats) and "BonePositionArray" (30 x 3 floats).
void SetBoneParameters(ShaderProgram* program, const MeshAAM& mesh);

// Client arrays of positions, normals, texture coordinates (unit 0), bone ids (unit 1) and
// weights (unit 2); glDrawElements(GL_TRIANGLES, vertex_count, GL_UNSIGNED_SHORT, indices);
// the client states are disabled again in reverse order, and unit 0 is left the active
// client unit. A mesh whose arrays are shorter than its vertex count draws nothing and
// says so.
void DrawSkinnedMesh(const MeshAAM& mesh);
// Binds a character's texture with the characters' filtering: anisotropic when the card
// offers more than 1, linear magnification, trilinear minification.
void BindCharacterTexture(uint32_t texture);
// Whether the mesh's arrays hold what DrawSkinnedMesh reads.
bool SkinnedMeshDrawable(const MeshAAM& mesh);
