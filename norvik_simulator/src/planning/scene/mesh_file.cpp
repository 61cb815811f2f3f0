#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <filesystem>
#include <assimp/Importer.hpp>

#include "planning/scene/shape.hpp"

namespace norvik::simulator::planning {

namespace {

bool is_mesh_name(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  for (char& c : extension) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return extension == ".stl" || extension == ".obj" || extension == ".ply";
}

void append(const aiMesh& part, Mesh& mesh) {
  const size_t first = mesh.vertices.size();
  for (unsigned i = 0; i < part.mNumVertices; ++i) {
    const aiVector3D& v = part.mVertices[i];
    mesh.vertices.emplace_back(v.x, v.y, v.z);
  }
  for (unsigned i = 0; i < part.mNumFaces; ++i) {
    const aiFace& face = part.mFaces[i];
    if (face.mNumIndices == 3) {  // Not the points and lines of a drawing.
      mesh.triangles.push_back({{first + face.mIndices[0], first + face.mIndices[1], first + face.mIndices[2]}});
    }
  }
}

}  // namespace

ShapeResult read_mesh(const std::string& path) {
  if (!is_mesh_name(path)) {
    return {{Reason::kInvalidInput, path + " is no STL, OBJ or PLY file"}, {}};
  }
  Assimp::Importer importer;
  constexpr unsigned kSteps = aiProcess_Triangulate | aiProcess_JoinIdenticalVertices | aiProcess_PreTransformVertices;
  const aiScene* scene = importer.ReadFile(path, kSteps);
  if (scene == nullptr) {
    return {{Reason::kInvalidInput, "cannot read " + path + ": " + importer.GetErrorString()}, {}};
  }
  auto mesh = std::make_shared<Mesh>();
  for (unsigned i = 0; i < scene->mNumMeshes; ++i) {
    append(*scene->mMeshes[i], *mesh);
  }
  Shape shape = std::shared_ptr<const Mesh>(std::move(mesh));
  Outcome checked = check_shape(shape);
  return {std::move(checked), std::move(shape)};
}

}  // namespace norvik::simulator::planning
